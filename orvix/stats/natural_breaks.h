// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>
#include <vector>

namespace orvix::detail {

/// The boundaries of natural classes, as Mathematic::GetJenksBreaks describes and returns them.
///
/// Cost   n k log n for n sorted values in k classes, as a rule: fast sums with a bound on their
///        error find the divisions, and only those closer than the bound are computed in the order
///        of operations that decides. n^2 k / 2 where most are closer (fewer distinct values than
///        classes, or distances between values that vanish beside the values), and for values that
///        do not ascend.
std::vector<double> NaturalBreaks(std::span<const double> values, int classes, double lowerBound);

}  // namespace orvix::detail
