// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/stats/bin_classes.h"

#include <algorithm>

#include "orvix/stats/division_costs.h"
#include "orvix/stats/min_sums.h"

namespace orvix::detail {
namespace {

constexpr double kEqualShare = 1e-12;  // BEHAVIOUR H9

// The smallest of the positions that are equal to the best.
std::size_t FirstOf(const MinSums& sums, std::size_t length, std::size_t j, double tolerance) {
    double min = sums.With(length, length, j);
    for (std::size_t first = 2; first < length; ++first) {
        min = std::min(min, sums.With(first, length, j));
    }
    std::size_t first = 2;
    while (first < length && !(sums.With(first, length, j) - min <= tolerance)) ++first;
    return first;
}

}  // namespace

std::vector<std::size_t> BinClasses(std::span<const double> values, std::span<const double> counts,
                                    std::size_t classes) {
    classes = std::min(classes, values.size());
    if (classes == 0) return {};
    const DivisionCosts costs(values, counts);
    const MinSums sums(costs, std::max<std::size_t>(classes, 2) - 1);
    const double tolerance = kEqualShare * costs.Of(1, values.size());
    std::vector<std::size_t> firsts(classes, 0);
    std::size_t length = values.size();
    for (std::size_t j = classes; j >= 2; --j) {
        // Each of the other classes keeps a bin.
        const std::size_t first = std::max(FirstOf(sums, length, j, tolerance), j);
        firsts[j - 1] = first - 1;
        length = first - 1;
    }
    return firsts;
}

double DeviationOf(std::span<const double> values, std::span<const double> counts,
                   std::span<const std::size_t> firsts) {
    const DivisionCosts costs(values, counts);
    double sum = 0;
    for (std::size_t i = 0; i < firsts.size(); ++i) {
        const std::size_t end = i + 1 < firsts.size() ? firsts[i + 1] : values.size();
        if (firsts[i] < end) sum += std::max(costs.Of(firsts[i] + 1, end), 0.0);
    }
    return sum;
}

}  // namespace orvix::detail
