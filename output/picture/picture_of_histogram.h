// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "output/picture/histogram_picture.h"

namespace orvix::output {

/// A panel of DrawHistograms with the project file's name, the field and its numbers in its title.
HistogramPanel PanelOf(const CString& project, const reports::FieldHistogram& histogram);

/// The same with classes, which must outlive the panel.
HistogramPanel PanelOf(const CString& project, const reports::FieldHistogram& histogram,
                       const reports::Classification& classes);

}  // namespace orvix::output
