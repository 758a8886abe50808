// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/stats/division_costs.h"

namespace orvix::detail {
namespace {

// Adds `value` to `sum`, and what rounding takes from it to `rest` (Knuth's two-sum).
void AddExactly(double value, double& sum, double& rest) {
    const double total = sum + value;
    const double added = total - sum;
    rest += (sum - (total - added)) + (value - added);
    sum = total;
}

// Any value near the mean serves: costs do not depend on where distances are taken from, only what
// rounding takes from them does.
double MeanOf(std::span<const double> values, std::span<const double> weights) {
    double sum = 0;
    double weight = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double one = weights.empty() ? 1.0 : weights[i];
        sum += one * values[i];
        weight += one;
    }
    return sum / weight;
}

}  // namespace

DivisionCosts::DivisionCosts(std::span<const double> values, std::span<const double> weights) {
    sums_.reserve(values.size() + 1);
    const double mean = MeanOf(values, weights);
    Sums sums;
    sums_.push_back(sums);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double weight = weights.empty() ? 1.0 : weights[i];
        const double distance = values[i] - mean;
        sums.weight += weight;
        AddExactly(weight * distance, sums.first, sums.firstRest);
        AddExactly(weight * (distance * distance), sums.second, sums.secondRest);
        sums_.push_back(sums);
    }
}

}  // namespace orvix::detail
