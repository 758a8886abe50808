// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/planes/plane_score.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace orvix::bench {
namespace {

using detail::Dot, detail::Vector;
using detail::operator+, detail::operator-;

double Share(std::uint64_t part, std::uint64_t whole) {
    return whole == 0 ? 0 : static_cast<double>(part) / static_cast<double>(whole);
}

std::size_t AtLeastTwo(const std::vector<std::size_t>& counts) {
    return static_cast<std::size_t>(
        std::count_if(counts.begin(), counts.end(), [](std::size_t n) { return n >= 2; }));
}

}  // namespace

std::vector<ClassRecall> RecallBy(const PlaneScore& score, std::span<const double> values,
                                  std::span<const double> limits) {
    std::vector<ClassRecall> classes(limits.size() - 1);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const auto above = std::upper_bound(limits.begin(), limits.end(), values[i]);
        if (score.knownPoints[i] == 0 || above == limits.begin() || above == limits.end()) continue;
        ClassRecall& its = classes[static_cast<std::size_t>(above - limits.begin() - 1)];
        ++its.known;
        its.at50 += score.overlaps[i] >= 0.5 ? 1 : 0;
        its.at75 += score.overlaps[i] >= 0.75 ? 1 : 0;
    }
    return classes;
}

PlaneCounter::PlaneCounter(std::vector<test::TruePlane> planes)
    : planes_(std::move(planes)), trueCounts_(planes_.size()) {}

void PlaneCounter::Add(const Vector& point, std::int32_t truth, std::int32_t found) {
    if (points_++ == 0) origin_ = point;
    if (truth >= 0) ++trueCounts_[static_cast<std::size_t>(truth)];
    if (found < 0) return;
    ++assigned_;
    const auto f = static_cast<std::size_t>(found);
    if (f >= sums_.size()) {
        sums_.resize(f + 1);
        foundCounts_.resize(f + 1);
    }
    sums_[f].Add(point - origin_);
    foundCounts_[f] += truth != kUnknownPlane ? 1 : 0;
    if (truth < 0) return;
    const std::uint64_t key = static_cast<std::uint64_t>(truth) << 32 | f;
    if (last_ == nullptr || key != lastKey_) {
        last_ = &shared_[key];
        lastKey_ = key;
    }
    ++*last_;
}

std::vector<PlaneCounter::Pair> PlaneCounter::Pairs() const {
    std::vector<Pair> pairs;
    for (const auto& [key, points] : shared_)
        pairs.push_back({static_cast<std::int32_t>(key >> 32),
                         static_cast<std::int32_t>(key & 0xFFFFFFFF), points});
    std::sort(pairs.begin(), pairs.end(), [](const Pair& a, const Pair& b) {
        return a.truth != b.truth ? a.truth < b.truth : a.found < b.found;
    });
    return pairs;
}

bool PlaneCounter::Judged(std::size_t found) const {
    const std::uint64_t known = foundCounts_[found];
    return known > 0 && static_cast<double>(known * 2) >= sums_[found].count;
}

PlaneScore PlaneCounter::Score(std::uint64_t minPoints) const {
    PlaneScore score;
    score.points = points_;
    for (const std::uint64_t count : trueCounts_) {
        score.knownPoints.push_back(count >= minPoints ? count : 0);
        score.known += count >= minPoints ? 1 : 0;
    }
    for (std::size_t f = 0; f < sums_.size(); ++f) score.found += Judged(f) ? 1 : 0;
    score.overlaps.assign(planes_.size(), 0);
    score.bestFound.assign(planes_.size(), -1);
    std::vector<std::size_t> pieces(planes_.size()), holds(sums_.size());
    std::size_t at50 = 0, at75 = 0, judgedAt50 = 0, judgedAt75 = 0;
    double angles = 0, offsets = 0;
    for (const Pair& pair : Pairs()) {
        const auto t = static_cast<std::size_t>(pair.truth);
        const auto f = static_cast<std::size_t>(pair.found);
        if (trueCounts_[t] < minPoints) continue;
        if (pair.points * 10 >= trueCounts_[t]) {
            ++pieces[t];
            ++holds[f];
        }
        const double overlap = Share(pair.points, trueCounts_[t] + foundCounts_[f] - pair.points);
        if (overlap > score.overlaps[t]) {
            score.overlaps[t] = overlap;
            score.bestFound[t] = pair.found;
        }
        if (overlap < 0.5) continue;
        ++at50;
        at75 += overlap >= 0.75 ? 1 : 0;
        judgedAt50 += Judged(f) ? 1 : 0;
        judgedAt75 += Judged(f) && overlap >= 0.75 ? 1 : 0;
        const detail::PrincipalSpread spread = detail::SpreadOf(sums_[f].Covariance());
        const double cosine = std::min(std::abs(Dot(spread.normal, planes_[t].normal)), 1.0);
        angles += std::acos(cosine) * 180 / std::numbers::pi;
        const Vector centre = origin_ + sums_[f].Mean();
        offsets += std::abs(Dot(planes_[t].normal, centre) + planes_[t].offset) * 1000;
    }
    score.split = AtLeastTwo(pieces);
    score.joined = AtLeastTwo(holds);
    score.precision50 = Share(judgedAt50, score.found);
    score.precision75 = Share(judgedAt75, score.found);
    score.recall50 = Share(at50, score.known);
    score.recall75 = Share(at75, score.known);
    score.normalDegrees = at50 > 0 ? angles / static_cast<double>(at50) : 0;
    score.offsetMillimetres = at50 > 0 ? offsets / static_cast<double>(at50) : 0;
    score.assigned = Share(assigned_, points_);
    return score;
}

}  // namespace orvix::bench
