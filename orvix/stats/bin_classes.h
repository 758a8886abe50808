// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace orvix::detail {

/// Divides the bins of a histogram into natural classes: the sum of the squared distances of all
/// counted values from the mean of their class is the smallest possible.
///
/// Choose it for the whole population; Mathematic::GetJenksBreaks classifies a sample.
///
///     const auto firsts = BinClasses(values, counts, 5);     // {0, 12, 40, 77, 130}
///     // class i: bins firsts[i] to firsts[i + 1] - 1
///
/// Shape      the first bin of each class, from 0; as many classes as asked for, and no more than
///            there are bins. Every class holds a bin.
/// Order      sums that differ by less than 1e-12 of the undivided sum are equal. Of equal ones the
///            division with the longer last class is taken, then the longer last but one, and so
///            on.
/// Boundaries values ascend strictly and are finite, counts are above 0; no value, or no class, has
///            no classes.
/// Cost       n log n per class for n bins, and 8 bytes per bin and class.
/// Source     as MinSums.
std::vector<std::size_t> BinClasses(std::span<const double> values, std::span<const double> counts,
                                    std::size_t classes);

/// The sum of squared distances of counted values from the means of the classes that begin at
/// `firsts`, to 1e-12 of the undivided sum; {0} gives that one.
double DeviationOf(std::span<const double> values, std::span<const double> counts,
                   std::span<const std::size_t> firsts);

}  // namespace orvix::detail
