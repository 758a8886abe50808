// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>
#include <vector>

namespace orvix::detail {

/// Mathematic::GetJenksBreaks, which tells what it gives.
///
/// Cost   of n sorted values in k classes n k log n as a rule: the divisions are found by fast sums
///        with a bound on their error, and only those that the bound cannot tell apart are computed
///        in the order of operations that decides. Where it can tell hardly any apart (fewer
///        distinct values than classes, or distances between values that vanish beside the values),
///        and for values that do not ascend, n^2 k / 2.
std::vector<double> NaturalBreaks(std::span<const double> values, int classes, double lowerBound);

}  // namespace orvix::detail
