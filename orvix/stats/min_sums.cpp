// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/stats/min_sums.h"

#include <algorithm>
#include <bit>

namespace orvix::detail {

MinSums::MinSums(const DivisionCosts& costs, std::size_t classes)
    : costs_(&costs), columns_(classes + 1) {
    const std::size_t count = costs.Count();
    for (std::size_t j = 1; j <= classes; ++j) {
        columns_[j].resize(count + 1);
        if (j == 1) {
            for (std::size_t l = 2; l <= count; ++l) columns_[j][l] = costs.Of(1, l);
        } else {
            Fill({2, count, 2, count}, j);
        }
    }
}

// The middle row's best position bounds those of the rows on either side.
void MinSums::Fill(const Block& block, std::size_t j) {
    if (block.firstRow > block.lastRow) return;
    const std::size_t row = block.firstRow + (block.lastRow - block.firstRow) / 2;
    const std::size_t last = std::min(block.highest, row);
    std::size_t best = block.lowest;
    double min = With(best, row, j);
    for (std::size_t first = block.lowest + 1; first <= last; ++first) {
        const double sum = With(first, row, j);
        if (sum < min) {
            min = sum;
            best = first;
        }
    }
    columns_[j][row] = min;
    Fill({block.firstRow, row - 1, block.lowest, best}, j);
    Fill({row + 1, block.lastRow, best, block.highest}, j);
}

double MinSums::RoundingMargin() const {
    return 32 * 0x1p-53 * costs_->ErrorScale();
}

// A position that rounding makes best at one row is worse than the best by two margins, and so may
// be what it bounds at every row below it in the halving; then the sum itself is rounded.
double MinSums::MarginOf(std::size_t j) const {
    const auto depth = static_cast<double>(std::bit_width(costs_->Count()));
    return static_cast<double>(j) * (2 * depth + 2) * RoundingMargin();
}

}  // namespace orvix::detail
