// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>

#include "orvix/platform/text.h"
#include "view/http/answer.h"

namespace orvix::view {

/// What `GET histograms` answers: of intensities and of heights, columns and natural classes; null
/// for a histogram that cannot be read.
///
/// Boundaries 2 to 20 classes; those of a histogram of more than 65,536 values are decided by a sample
///            of 8,000.
/// Errors     none are reported: ProjectJson has a sentence.
Json HistogramsJson(const CString& project, std::size_t classes);

}  // namespace orvix::view
