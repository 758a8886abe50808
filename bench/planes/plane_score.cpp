// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/planes/plane_score.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>

#include "detection/moments.h"

namespace orvix::bench {
namespace {

using detection::Dot;
using detection::MomentSum;
using detection::Vector;
using detection::operator+;
using detection::operator-;

std::size_t PlanesIn(const std::vector<std::int32_t>& labels) {
    std::int32_t most = -1;
    for (const std::int32_t label : labels) most = std::max(most, label);
    return static_cast<std::size_t>(most + 1);
}

std::vector<std::uint64_t> Counts(const std::vector<std::int32_t>& labels, std::size_t planes) {
    std::vector<std::uint64_t> counts(planes);
    for (const std::int32_t label : labels)
        if (label >= 0) ++counts[static_cast<std::size_t>(label)];
    return counts;
}

/// Leaves only points whose truth is known in `counts`; which planes have enough of them.
std::vector<bool> Judged(const std::vector<std::int32_t>& truth,
                         const std::vector<std::int32_t>& found,
                         std::vector<std::uint64_t>& counts) {
    std::vector<std::uint64_t> known(counts.size());
    for (std::size_t i = 0; i < found.size(); ++i)
        if (found[i] >= 0 && truth[i] != kUnknownPlane) ++known[static_cast<std::size_t>(found[i])];
    std::vector<bool> judged(counts.size());
    for (std::size_t i = 0; i < counts.size(); ++i)
        judged[i] = known[i] > 0 && known[i] * 2 >= counts[i];
    counts = std::move(known);
    return judged;
}

double Share(std::size_t part, std::size_t whole) {
    return whole == 0 ? 0 : static_cast<double>(part) / static_cast<double>(whole);
}

}  // namespace

PlaneScore ScoreOf(const std::vector<Vector>& points, const std::vector<std::int32_t>& truth,
                   const std::vector<std::int32_t>& found,
                   const std::vector<test::TruePlane>& planes, std::uint64_t leastPoints) {
    const std::vector<std::uint64_t> trueCounts = Counts(truth, planes.size());
    std::vector<std::uint64_t> foundCounts = Counts(found, PlanesIn(found));
    const std::vector<bool> judged = Judged(truth, found, foundCounts);
    std::map<std::pair<std::int32_t, std::int32_t>, std::uint64_t> shared;
    std::vector<MomentSum> sums(foundCounts.size());
    PlaneScore score;
    std::size_t assigned = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (found[i] < 0) continue;
        ++assigned;
        sums[static_cast<std::size_t>(found[i])].Add(points[i] - points[0]);
        if (truth[i] >= 0) ++shared[{truth[i], found[i]}];
    }
    for (const std::uint64_t count : trueCounts) score.known += count >= leastPoints ? 1 : 0;
    for (const bool is : judged) score.found += is ? 1 : 0;
    score.overlaps.assign(planes.size(), 0);
    score.bestFound.assign(planes.size(), -1);
    std::vector<std::size_t> pieces(planes.size()), holds(foundCounts.size());
    std::size_t at50 = 0, at75 = 0, judgedAt50 = 0, judgedAt75 = 0;
    double angles = 0, offsets = 0;
    for (const auto& [pair, count] : shared) {
        const auto t = static_cast<std::size_t>(pair.first);
        const auto f = static_cast<std::size_t>(pair.second);
        if (trueCounts[t] < leastPoints) continue;
        if (count * 10 >= trueCounts[t]) {
            ++pieces[t];
            ++holds[f];
        }
        const double overlap = static_cast<double>(count) /
                               static_cast<double>(trueCounts[t] + foundCounts[f] - count);
        if (overlap > score.overlaps[t]) {
            score.overlaps[t] = overlap;
            score.bestFound[t] = pair.second;
        }
        if (overlap < 0.5) continue;
        ++at50;
        at75 += overlap >= 0.75 ? 1 : 0;
        judgedAt50 += judged[f] ? 1 : 0;
        judgedAt75 += judged[f] && overlap >= 0.75 ? 1 : 0;
        const detection::Spread spread = detection::SpreadOf(sums[f].Covariance());
        const Vector centre = points[0] + sums[f].Mean();
        const double cosine = std::min(std::abs(Dot(spread.normal, planes[t].normal)), 1.0);
        angles += std::acos(cosine) * 180 / std::numbers::pi;
        offsets += std::abs(Dot(planes[t].normal, centre) + planes[t].offset) * 1000;
    }
    for (const std::size_t n : pieces) score.split += n >= 2 ? 1 : 0;
    for (const std::size_t n : holds) score.joined += n >= 2 ? 1 : 0;
    score.precision50 = Share(judgedAt50, score.found);
    score.precision75 = Share(judgedAt75, score.found);
    score.recall50 = Share(at50, score.known);
    score.recall75 = Share(at75, score.known);
    score.normalDegrees = at50 > 0 ? angles / static_cast<double>(at50) : 0;
    score.offsetMillimetres = at50 > 0 ? offsets / static_cast<double>(at50) : 0;
    score.assigned = Share(assigned, points.size());
    return score;
}

}  // namespace orvix::bench
