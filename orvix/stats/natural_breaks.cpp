// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/stats/natural_breaks.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "orvix/stats/close_divisions.h"
#include "orvix/stats/exhaustive_breaks.h"

namespace orvix::detail {
namespace {

// Every position then names the same value, whichever is best. Zeros of both signs differ.
bool AllSame(std::span<const double> values) {
    const auto bits = [](double value) { return std::bit_cast<std::uint64_t>(value); };
    return std::all_of(values.begin(), values.end(),
                       [&](double value) { return bits(value) == bits(values.front()); });
}

}  // namespace

std::vector<double> NaturalBreaks(std::span<const double> values, int classes, double lowerBound) {
    if (classes < 0) return {};
    const auto last = static_cast<std::size_t>(classes);
    std::vector<double> breaks(last + 1, lowerBound);
    if (values.empty()) return breaks;
    breaks[last] = values.back();
    if (last == 0) return breaks;
    if (AllSame(values)) {
        std::fill(breaks.begin() + 1, breaks.end(), values.back());
        return breaks;
    }
    std::vector<std::size_t> firsts = CloseFirsts(values, last);
    if (firsts.empty()) firsts = ExhaustiveFirsts(values, last);
    // Where no value is left, positions are 0 and the boundary is the first value.
    std::size_t j = last;
    for (const std::size_t first : firsts) {
        breaks[--j] = values[std::max<std::size_t>(first, 2) - 2];
    }
    return breaks;
}

}  // namespace orvix::detail
