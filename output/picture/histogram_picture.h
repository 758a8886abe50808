// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "reports/classification.h"
#include "reports/field_histogram.h"

namespace orvix::output {

/// One panel of the picture; without classes, the columns alone.
struct HistogramPanel {
    reports::FieldHistogram histogram;
    const reports::Classification* classes = nullptr;
    std::string title;
    std::string subtitle;
};

/// Draws histograms one below the other as an SVG picture: columns with labelled axes and units,
/// the classes as coloured bands with their numbers, and the boundaries between them as lines with
/// their values.
///
/// Order  the same input gives the same text, byte for byte.
std::string DrawHistograms(const std::vector<HistogramPanel>& panels);

/// Writes the text of DrawHistograms whole or not at all.
Expected<void> WriteSvg(const CString& path, const std::string& svg);

}  // namespace orvix::output
