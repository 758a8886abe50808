// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/stats/exhaustive_breaks.h"

#include <algorithm>
#include <array>
#include <limits>

#include "orvix/stats/running_deviation.h"

namespace orvix::detail {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr std::size_t kLanes = 8;
using Lanes = std::array<double, kLanes>;

/// The smallest sums of the first l values in 1, 2, ... classes, row by row.
class SumRows {
public:
    SumRows(std::span<const double> values, std::size_t classes)
        : values_(values),
          stride_((classes + kLanes - 1) / kLanes * kLanes + kLanes),
          sums_((values.size() + 1) * stride_, kInfinity) {
        std::fill_n(sums_.begin(), 2 * stride_, 0.0);
        for (std::size_t l = 2; l <= values.size(); ++l) FillRow(l);
    }

    /// The best first position of the last of `j` classes, j from 2.
    [[nodiscard]] std::size_t First(std::size_t l, std::size_t j) const {
        double min = kInfinity;
        std::size_t best = 0;
        RunningDeviation deviation;
        for (std::size_t first = l; first >= 2; --first) {
            deviation.Add(values_[first - 1]);
            const double sum = deviation.Value() + sums_[(first - 1) * stride_ + j - 2];
            if (!(min >= sum)) continue;
            min = sum;
            best = first;
        }
        return best;
    }

private:
    void FillRow(std::size_t l) {
        double* const row = &sums_[l * stride_];
        for (std::size_t lane = 0; lane + kLanes < stride_; lane += kLanes) {
            const Lanes best = BestOf(l, lane);
            std::copy(best.begin(), best.end(), row + 1 + lane);
        }
        RunningDeviation whole;
        for (std::size_t first = l; first >= 1; --first) whole.Add(values_[first - 1]);
        row[0] = whole.Value();
    }

    // Eight numbers of classes side by side, in registers. Lanes beyond the last class are filled
    // with what nobody reads.
    [[nodiscard]] Lanes BestOf(std::size_t l, std::size_t lane) const {
        Lanes best;
        best.fill(kInfinity);
        RunningDeviation deviation;
        for (std::size_t first = l; first >= 2; --first) {
            deviation.Add(values_[first - 1]);
            const double value = deviation.Value();
            const double* const before = &sums_[(first - 1) * stride_ + lane];
            for (std::size_t c = 0; c < kLanes; ++c) {
                const double sum = value + before[c];
                best[c] = best[c] >= sum ? sum : best[c];
            }
        }
        return best;
    }

    std::span<const double> values_;
    std::size_t stride_;
    std::vector<double> sums_;
};

}  // namespace

std::vector<std::size_t> ExhaustiveFirsts(std::span<const double> values, std::size_t classes) {
    std::vector<std::size_t> firsts;
    if (classes < 2) return firsts;
    const SumRows rows(values, classes - 1);
    std::size_t length = values.size();
    for (std::size_t j = classes; j >= 2; --j) {
        firsts.push_back(rows.First(length, j));
        length = std::max<std::size_t>(firsts.back(), 1) - 1;
    }
    return firsts;
}

}  // namespace orvix::detail
