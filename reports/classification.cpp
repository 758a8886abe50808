// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/classification.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "orvix/platform/amounts.h"
#include "orvix/stats/bin_classes.h"
#include "orvix/stats/mathematic.h"
#include "orvix/stats/random_draw.h"

namespace orvix::reports {

namespace {

constexpr std::size_t kMaxSums = std::size_t{1} << 27;  // of 8 bytes

struct Population {
    std::vector<double> values;
    std::vector<double> counts;
};

Population PopulationOf(const std::vector<detail::HistogramBin>& bins) {
    Population all;
    for (const detail::HistogramBin& bin : bins) {
        all.values.push_back(bin.value);
        all.counts.push_back(static_cast<double>(bin.count));
    }
    return all;
}

Expected<void> RequireRoom(const std::vector<detail::HistogramBin>& bins,
                           const ClassifyOptions& options) {
    if (bins.size() < options.classes)
        return Fail(ErrorCode::BadInput,
                    bins.size() == 1
                        ? std::string("there is 1 distinct value; ask for 1 class")
                        : fmt::format("there are {} distinct values; ask for at most as many "
                                      "classes",
                                      platform::CountText(bins.size())));
    if (options.sample == 0 && bins.size() > kMaxSums / options.classes)
        return Fail(ErrorCode::BadInput,
                    fmt::format("{} classes of {} distinct values need more than 1 GiB of memory; "
                                "ask for fewer classes, or decide by a sample with --sample 8000",
                                options.classes, platform::CountText(bins.size())));
    return {};
}

std::vector<double> ExactBoundaries(const Population& all, std::size_t classes) {
    const auto firsts = detail::BinClasses(all.values, all.counts, classes);
    std::vector<double> boundaries{all.values.front()};
    for (std::size_t i = 1; i < firsts.size(); ++i) {
        boundaries.push_back(all.values[firsts[i] - 1]);
    }
    boundaries.push_back(all.values.back());
    return boundaries;
}

// As the library's sampler draws, from a generator that is the same on every system.
std::vector<double> Drawn(const std::vector<detail::HistogramBin>& bins,
                          const ClassifyOptions& options) {
    std::vector<std::int64_t> upTo;
    std::int64_t total = 0;
    for (const detail::HistogramBin& bin : bins) {
        upTo.push_back(total += static_cast<std::int64_t>(bin.count));
    }
    detail::SeededDraws draws(options.seed);
    std::vector<double> samples;
    for (std::size_t i = 0; i < options.sample; ++i) {
        const std::int64_t drawn = detail::ScaleDraw(draws(), total, 0);
        const auto found = std::upper_bound(upTo.begin(), upTo.end(), drawn);
        if (found == upTo.end()) continue;
        samples.push_back(bins[static_cast<std::size_t>(found - upTo.begin())].value);
    }
    std::sort(samples.begin(), samples.end());
    return samples;
}

std::vector<double> SampledBoundaries(const std::vector<detail::HistogramBin>& bins,
                                      const ClassifyOptions& options, std::size_t& sampled) {
    std::vector<double> samples = Drawn(bins, options);
    sampled = samples.size();
    std::vector<double> boundaries =
        Mathematic::GetJenksBreaks(samples, static_cast<int>(options.classes), bins.front().value);
    boundaries.back() = bins.back().value;
    return boundaries;
}

}  // namespace

std::size_t Classification::ClassOf(double value) const {
    const auto first = boundaries.begin() + 1;
    return static_cast<std::size_t>(
        std::distance(first, std::lower_bound(first, boundaries.end() - 1, value)));
}

std::string Classification::HowText() const {
    if (sampled == 0) return "by all points";
    return fmt::format("by a sample of {} values, seed {}", platform::CountText(sampled), seed);
}

Expected<Classification> Classify(const std::vector<detail::HistogramBin>& bins,
                                  const ClassifyOptions& options) {
    if (auto room = RequireRoom(bins, options); !room) return ErrorOf(room);
    const Population all = PopulationOf(bins);
    Classification result;
    result.seed = options.seed;
    result.boundaries = options.sample == 0 ? ExactBoundaries(all, options.classes)
                                            : SampledBoundaries(bins, options, result.sampled);
    result.counts.resize(options.classes);
    std::vector<std::size_t> firsts(options.classes, bins.size());
    for (std::size_t i = bins.size(); i-- > 0;) {
        const std::size_t number = result.ClassOf(bins[i].value);
        result.counts[number] += bins[i].count;
        firsts[number] = i;
    }
    // A class without a bin begins where the next one does.
    for (std::size_t i = firsts.size(); i-- > 1;)
        firsts[i - 1] = std::min(firsts[i - 1], firsts[i]);
    const std::size_t undivided[] = {0};
    const double whole = detail::DeviationOf(all.values, all.counts, undivided);
    const double within = detail::DeviationOf(all.values, all.counts, firsts);
    result.fit = whole > 0 ? std::clamp(1 - within / whole, 0.0, 1.0) : 1.0;
    return result;
}

}  // namespace orvix::reports
