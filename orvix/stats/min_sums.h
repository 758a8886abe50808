// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <vector>

#include "orvix/stats/division_costs.h"

namespace orvix::detail {

/// The smallest sums of costs with which the first l of sorted values divide into j classes.
///
///     const MinSums sums(costs, 4);
///     sums[3][100];                  // the first 100 values in 3 classes
///     sums.With(80, 100, 3);         // the same, the third class being values 80 to 100
///
/// Shape      j and l count from 1. A single value costs nothing, for every j.
/// Boundaries each sum is that of a division, so only rounding can make it too small; it is larger
///            than the smallest by no more than MarginOf(j). The values must ascend.
/// Cost       n log n per class, 8 bytes per value and class.
/// Source     X. Wu, "Optimal quantization by matrix searching", J. Algorithms 12 (1991): costs of
///            sorted values fulfil the quadrangle inequality, so that best first positions ascend
///            with l, and halving the rows halves the positions to try.
class MinSums {
public:
    MinSums(const DivisionCosts& costs, std::size_t classes);

    [[nodiscard]] const std::vector<double>& operator[](std::size_t j) const { return columns_[j]; }
    /// The sum with `first` as the last class's first position, from 2 to l; j is at least 2.
    [[nodiscard]] double With(std::size_t first, std::size_t l, std::size_t j) const {
        return costs_->Of(first, l) + columns_[j - 1][first - 1];
    }
    /// How far the sums can lie from those of real numbers, for `j` classes.
    [[nodiscard]] double MarginOf(std::size_t j) const;
    /// How far With() can lie from the same in real numbers, given the column before.
    [[nodiscard]] double RoundingMargin() const;

private:
    struct Block {
        std::size_t firstRow;
        std::size_t lastRow;
        std::size_t lowest;
        std::size_t highest;
    };
    void Fill(const Block& block, std::size_t j);

    const DivisionCosts* costs_;
    std::vector<std::vector<double>> columns_;
};

}  // namespace orvix::detail
