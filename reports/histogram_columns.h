// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "reports/field_histogram.h"

namespace orvix::reports {

/// A histogram gathered into columns of equal width.
struct Columns {
    double start = 0;  ///< lower edge of the first, as stored
    double width = 1;  ///< 1, 2 or 5 times a power of ten of bins
    std::vector<std::uint64_t> counts;
    std::uint64_t below = 0;  ///< points left out at either end
    std::uint64_t above = 0;

    [[nodiscard]] double End() const { return start + width * double(counts.size()); }
};

/// Gathers a histogram into at most `max` columns.
///
/// Boundaries up to a 500th of the points at either end is left out, so that a few stray values do
///            not squeeze the others together.
Columns ColumnsOf(const FieldHistogram& histogram, std::size_t max);

/// 1, 2 or 5 times a power of ten: the smallest step that fits into a range `wanted` times or less.
double RoundStep(double range, double wanted);

}  // namespace orvix::reports
