// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/histogram_columns.h"

#include <algorithm>
#include <cmath>

namespace orvix::reports {

namespace {

constexpr std::uint64_t kTrimmedShare = 500;

}  // namespace

double RoundStep(double range, double wanted) {
    const double rough = range / wanted;
    const double power = std::pow(10.0, std::floor(std::log10(rough)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (factor * power >= rough * (1 - 1e-9)) return factor * power;
    }
    return 10 * power;
}

Columns ColumnsOf(const FieldHistogram& histogram, std::size_t max) {
    const auto& bins = histogram.bins;
    Columns columns;
    const std::uint64_t mayGo = histogram.points / kTrimmedShare;
    std::size_t first = 0;
    std::size_t last = bins.size() - 1;
    while (first < last && columns.below + bins[first].count <= mayGo) {
        columns.below += bins[first++].count;
    }
    while (last > first && columns.above + bins[last].count <= mayGo) {
        columns.above += bins[last--].count;
    }
    // Edges are round numbers as people read them, as far as bins allow: an intensity is its bin's
    // middle, and the world's zero lies on the edge of a height's bin only to the centimetre.
    const double bin = histogram.binWidth;
    const double zero = histogram.field == Field::Intensity
                            ? -bin / 2
                            : -std::floor(histogram.shift / bin + 0.5) * bin;
    const double lowest = bins[first].value - bin / 2 - zero;
    const double highest = bins[last].value + bin / 2 - zero;
    for (double wanted = 1;; wanted = RoundStep(wanted * 1.5, 1)) {
        columns.width = bin * wanted;
        const double start = std::floor(lowest / columns.width + 1e-6);
        const double count = std::ceil(highest / columns.width - 1e-6) - start;
        if (count > static_cast<double>(max) && count > 1) continue;
        columns.start = start * columns.width + zero;
        columns.counts.resize(static_cast<std::size_t>(std::max(count, 1.0)));
        break;
    }
    for (std::size_t i = first; i <= last; ++i) {
        const double place = (bins[i].value - columns.start) / columns.width;
        columns.counts[std::min(columns.counts.size() - 1, static_cast<std::size_t>(place))] +=
            bins[i].count;
    }
    return columns;
}

}  // namespace orvix::reports
