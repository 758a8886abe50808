// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace orvix::detail {

/// Finds the best division of `values` into classes by trying every position at every row.
///
/// Returns the first position of class k, then of k - 1, down to class 2. Correct for any values,
/// sorted and finite or not; CloseFirsts is faster where values ascend.
///
/// Shape      positions count from 1; 0 where no value is left, and where no sum is a number.
/// Order      of equal sums the smaller position.
/// Cost       n^2 classes / 2 additions and comparisons, n^2 / 2 divisions; 8 bytes per value
///            and class.
std::vector<std::size_t> ExhaustiveFirsts(std::span<const double> values, std::size_t classes);

}  // namespace orvix::detail
