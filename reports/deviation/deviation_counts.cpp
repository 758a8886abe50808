// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/deviation/deviation_counts.h"

#include <algorithm>
#include <atomic>
#include <cmath>

namespace orvix::reports {

namespace {

constexpr double kStep = 1e-4;  // metres
constexpr double kFewestBins = 8;

void CountOne(std::uint64_t& count) {
    std::atomic_ref<std::uint64_t>(count).fetch_add(1, std::memory_order_relaxed);
}

std::size_t BinsFor(double reach, double step) {
    return static_cast<std::size_t>(std::ceil(2 * reach / step)) + 1;
}

}  // namespace

DeviationCounts::DeviationCounts(std::size_t elements, double reach, double tolerance,
                                 std::uint64_t memory)
    : tolerance_(tolerance), step_(kStep) {
    const double room = static_cast<double>(memory) / sizeof(std::uint64_t) /
                        static_cast<double>(std::max<std::size_t>(elements, 1));
    while (2 * reach / step_ + 2 > room && 2 * reach / step_ > kFewestBins) step_ *= 2;
    bins_ = BinsFor(reach, step_);
    counts_.resize(elements * bins_);
    within_.resize(elements);
}

// BEHAVIOUR E2: a bin is centred on a whole number of steps, so that 0 is the middle of one.
void DeviationCounts::Add(std::uint32_t element, double height) {
    const double half = static_cast<double>(bins_ / 2);
    const double bin =
        std::clamp(std::floor(height / step_ + half + 0.5), 0.0, static_cast<double>(bins_ - 1));
    CountOne(counts_[element * bins_ + static_cast<std::size_t>(bin)]);
    if (std::abs(height) <= tolerance_) CountOne(within_[element]);
}

double DeviationCounts::HeightAt(std::size_t bin) const {
    return (static_cast<double>(bin) - static_cast<double>(bins_ / 2)) * step_;
}

DeviationFigures DeviationCounts::FiguresOf(const std::uint64_t* counts,
                                            std::uint64_t within) const {
    DeviationFigures figures;
    figures.within = within;
    for (std::size_t i = 0; i < bins_; ++i) figures.points += counts[i];
    if (figures.points == 0) return figures;
    // The height that the given share of the points reaches, the lower one of two.
    const auto at = [&](double share) {
        const auto wanted =
            static_cast<std::uint64_t>(share * static_cast<double>(figures.points - 1));
        std::uint64_t passed = 0;
        std::size_t bin = 0;
        while (bin + 1 < bins_ && passed + counts[bin] <= wanted) passed += counts[bin++];
        return HeightAt(bin);
    };
    figures.median = at(0.5);
    figures.low = at(0.05);
    figures.high = at(0.95);
    double squares = 0;
    for (std::size_t i = 0; i < bins_; ++i)
        squares += static_cast<double>(counts[i]) * HeightAt(i) * HeightAt(i);
    figures.rms = std::sqrt(squares / static_cast<double>(figures.points));
    return figures;
}

DeviationFigures DeviationCounts::FiguresOf(std::size_t element) const {
    return FiguresOf(counts_.data() + element * bins_, within_[element]);
}

DeviationFigures DeviationCounts::FiguresOfAll() const {
    std::vector<std::uint64_t> sum(bins_);
    std::uint64_t within = 0;
    for (std::size_t element = 0; element < within_.size(); ++element) {
        for (std::size_t i = 0; i < bins_; ++i) sum[i] += counts_[element * bins_ + i];
        within += within_[element];
    }
    return FiguresOf(sum.data(), within);
}

}  // namespace orvix::reports
