// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/stats/natural_breaks.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace orvix::detail {
namespace {

/// The best divisions of the first l values into j classes, for every l and j: the position
/// (from 1) of the last class's first value, and the classes' squared deviations from their means.
class Divisions {
public:
    Divisions(std::span<const double> values, std::size_t classes)
        : values_(values),
          columns_(classes + 1),
          firsts_((values.size() + 1) * columns_),
          variances_((values.size() + 1) * columns_, std::numeric_limits<double>::infinity()) {
        std::fill_n(variances_.begin(), std::min(2 * columns_, variances_.size()), 0.0);
        for (std::size_t l = 2; l <= values.size(); ++l) FillRow(l);
    }

    [[nodiscard]] std::int32_t First(std::size_t l, std::size_t j) const {
        return firsts_[l * columns_ + j];
    }

private:
    void FillRow(std::size_t l) {
        double* const best = &variances_[l * columns_];
        std::int32_t* const firsts = &firsts_[l * columns_];
        double sum = 0;
        double squares = 0;
        double count = 0;
        double variance = 0;
        for (std::size_t first = l; first >= 1; --first) {
            const double value = values_[first - 1];
            squares += value * value;
            sum += value;
            count += 1.0;
            variance = squares - sum * sum / count;
            if (first == 1) break;
            const double* const before = &variances_[(first - 1) * columns_];
            for (std::size_t j = 2; j < columns_; ++j) {
                // A tie goes to the longer last class.
                const double candidate = variance + before[j - 1];
                if (!(best[j] >= candidate)) continue;
                best[j] = candidate;
                firsts[j] = static_cast<std::int32_t>(first);
            }
        }
        if (columns_ > 1) {
            best[1] = variance;
            firsts[1] = 1;
        }
    }

    std::span<const double> values_;
    std::size_t columns_;
    std::vector<std::int32_t> firsts_;
    std::vector<double> variances_;
};

}  // namespace

std::vector<double> NaturalBreaks(std::span<const double> values, int classes, double lowerBound) {
    if (classes < 0) return {};
    const auto last = static_cast<std::size_t>(classes);
    std::vector<double> breaks(last + 1, lowerBound);
    if (values.empty()) return breaks;
    breaks[last] = values.back();
    const Divisions divisions(values, last);
    // Positions before the first value are the first value: row 1, and row 0 of a division that
    // has run out of values, hold 0.
    std::size_t length = values.size();
    for (std::size_t j = last; j >= 2; --j) {
        const std::int32_t first = divisions.First(length, j);
        breaks[j - 1] = values[static_cast<std::size_t>(std::max(first - 2, 0))];
        length = static_cast<std::size_t>(std::max(first - 1, 0));
    }
    return breaks;
}

}  // namespace orvix::detail
