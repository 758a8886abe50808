// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <vector>

/// Quantiles of unsorted values, without sorting them.
///
/// There is no averaging of two neighbours: every quantile is one of the values. The median of an
/// even number of values is the lower of the two in the middle by Quantile(values, 0.5), the upper
/// one by UpperMedian.
///
///     const double typical = Quantile(distances, 0.5);
///     const double nearlyAll = Quantile(distances, 0.99);
///
/// Order         `values` are reordered; the same set may be asked again.
/// Precondition  there is a value, and none is not-a-number.
/// Cost          linear.
namespace orvix::detail {

/// The value that has `rank` values before it once all are sorted; 0 is the smallest.
template <class Value>
Value ValueOfRank(std::vector<Value>& values, std::size_t rank) {
    assert(rank < values.size());
    const auto at = values.begin() + static_cast<std::ptrdiff_t>(rank);
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

/// The value that `share` of the others, from 0 to 1, precede: of rank share * (count - 1), rounded
/// down.
template <class Value>
Value Quantile(std::vector<Value>& values, double share) {
    return ValueOfRank(values,
                       static_cast<std::size_t>(share * static_cast<double>(values.size() - 1)));
}

template <class Value>
Value UpperMedian(std::vector<Value>& values) {
    return ValueOfRank(values, values.size() / 2);
}

}  // namespace orvix::detail
