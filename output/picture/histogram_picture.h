// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "reports/classification.h"
#include "reports/field_histogram.h"

namespace orvix::output {

/// A histogram gathered into columns of equal width.
struct Columns {
    double start = 0;  ///< lower edge of the first, as stored
    double width = 1;  ///< 1, 2 or 5 times a power of ten of bins
    std::vector<std::uint64_t> counts;
    std::uint64_t below = 0;  ///< points left out at either end
    std::uint64_t above = 0;

    [[nodiscard]] double End() const { return start + width * double(counts.size()); }
};

/// Gathers a histogram into at most `most` columns.
///
/// Boundaries up to a 500th of the points at either end is left out, so that a few stray values do
///            not squeeze the others together.
Columns ColumnsOf(const reports::FieldHistogram& histogram, std::size_t most);

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
