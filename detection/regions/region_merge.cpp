// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/regions/region_merge.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <tuple>

#include "detection/regions/near_regions.h"

namespace orvix::detection {
namespace {

// Of the distance: the rms of a piece's points from the plane of the whole, where the pieces touch
// and where they do not.
constexpr double kMaxTouching = 0.75;
constexpr double kMaxApart = 0.35;
constexpr double kMaxReach = 20;  // cells: what lies farther apart is not joined
constexpr double kNever = std::numeric_limits<double>::infinity();

class Merger {
public:
    Merger(const GrowthLimits& growth, std::vector<Region>& regions)
        : growth_(growth), regions_(regions), parent_(regions.size()) {
        std::iota(parent_.begin(), parent_.end(), 0);
    }

    std::int32_t Root(std::int32_t i) {
        while (Parent(i) != i) i = Parent(i) = Parent(Parent(i));
        return i;
    }
    // How much the mean square distance grows, of the worse of the two, when they become one;
    // infinite where they must not.
    [[nodiscard]] double Loss(const RegionPair& pair, bool touch) const {
        const Region& a = At(pair.first);
        const Region& b = At(pair.second);
        if (std::abs(Dot(a.plane.normal, b.plane.normal)) < growth_.minCosine) return kNever;
        const Region both = Union(a, b);
        if (both.rms > kMaxSpread * growth_.distance) return kNever;
        const double most = (touch ? kMaxTouching : kMaxApart) * growth_.distance;
        const double spreadA = Spread(a, both.plane), spreadB = Spread(b, both.plane);
        if (std::max(spreadA, spreadB) > most * most) return kNever;
        return std::max(spreadA - a.rms * a.rms, spreadB - b.rms * b.rms);
    }
    void Join(const RegionPair& pair) {
        Region& into = regions_[static_cast<std::size_t>(pair.first)];
        into = Union(into, At(pair.second));
        Parent(pair.second) = pair.first;
    }
    // The number that each region ends with, without gaps; kNoRegion for one that is too small.
    std::vector<std::int32_t> Renumber(double cellSize) {
        std::vector<std::int32_t> numbers(regions_.size(), kNoRegion);
        std::size_t kept = 0;
        for (std::size_t i = 0; i < regions_.size(); ++i) {
            const std::int32_t root = Root(static_cast<std::int32_t>(i));
            if (root != static_cast<std::int32_t>(i)) {
                numbers[i] = numbers[static_cast<std::size_t>(root)];
            } else if (IsLargeEnough(regions_[i], growth_, cellSize)) {
                numbers[i] = static_cast<std::int32_t>(kept);
                regions_[kept++] = regions_[i];
            }
        }
        regions_.resize(kept);
        return numbers;
    }

private:
    [[nodiscard]] const Region& At(std::int32_t i) const {
        return regions_[static_cast<std::size_t>(i)];
    }
    std::int32_t& Parent(std::int32_t i) { return parent_[static_cast<std::size_t>(i)]; }
    static Region Union(const Region& a, const Region& b) {
        Region both = a;
        both.sum.Add(b.sum.About(a.origin - b.origin));
        both.cells += b.cells;
        Refit(both);
        return both;
    }
    // The mean square distance of a region's points from a plane.
    static double Spread(const Region& region, const PlaneAt& plane) {
        const double away = plane.Distance(region.plane.centre);
        return QuadraticForm(region.sum.Covariance(), plane.normal) + away * away;
    }

    const GrowthLimits& growth_;
    std::vector<Region>& regions_;
    std::vector<std::int32_t> parent_;
};

// Each pair once; it touches where any of its pairs does.
void SortOnce(std::vector<NearPair>& pairs) {
    std::sort(pairs.begin(), pairs.end(), [](const NearPair& a, const NearPair& b) {
        return a.pair != b.pair ? a.pair < b.pair : a.touch > b.touch;
    });
    const auto samePair = [](const NearPair& a, const NearPair& b) { return a.pair == b.pair; };
    pairs.erase(std::unique(pairs.begin(), pairs.end(), samePair), pairs.end());
}

Expected<std::vector<NearPair>> NearPairsOf(const CellMap& map, std::int32_t reach,
                                            const Merger& merger, const parallel::Pool& pool) {
    std::vector<std::vector<NearPair>> parts(map.Tiles());
    auto done = pool.RunJobs(map.Tiles(), [&](std::size_t tile, unsigned) -> Expected<void> {
        parts[tile] = NearPairsIn(map, tile, reach, [&](const RegionPair& pair) {
            return merger.Loss(pair, true) < kNever;
        });
        return {};
    });
    if (!done) return ErrorOf(done);
    std::vector<NearPair> pairs;
    for (const auto& part : parts) pairs.insert(pairs.end(), part.begin(), part.end());
    SortOnce(pairs);
    return pairs;
}

// Joins the best pairs, each region once; false when no pair is left that may join.
bool JoinOnce(const std::vector<NearPair>& pairs, std::size_t regions, Merger& merger) {
    std::vector<std::pair<double, RegionPair>> ranked;
    for (const NearPair& near : pairs) {
        const double loss = merger.Loss(near.pair, near.touch);
        if (loss < kNever) ranked.emplace_back(loss, near.pair);
    }
    std::sort(ranked.begin(), ranked.end());
    // A region that changed is compared again in the next turn.
    std::vector<bool> changed(regions);
    for (const auto& [loss, pair] : ranked) {
        const auto a = static_cast<std::size_t>(pair.first);
        const auto b = static_cast<std::size_t>(pair.second);
        if (changed[a] || changed[b]) continue;
        merger.Join(pair);
        changed[a] = changed[b] = true;
    }
    return !ranked.empty();
}

}  // namespace

Expected<void> MergeRegions(const GrowthLimits& growth, double bridge, const parallel::Pool& pool,
                            CellMap& map, std::vector<Region>& regions) {
    const double size = map.Frame().Size();
    Merger merger(growth, regions);
    const double cells = std::min(bridge / size, kMaxReach) + 1 + 1e-9;  // BEHAVIOUR A5
    const auto reach = std::max(1, static_cast<std::int32_t>(cells));
    auto found = NearPairsOf(map, reach, merger, pool);
    if (!found) return ErrorOf(found);
    std::vector<NearPair> pairs = std::move(*found);
    while (JoinOnce(pairs, regions.size(), merger)) {
        if (!pool.Proceed())
            return Fail(ErrorCode::Cancelled, "the search for planes was cancelled");
        for (auto& [pair, touch] : pairs)
            pair = std::minmax(merger.Root(pair.first), merger.Root(pair.second));
        std::erase_if(pairs, [](const NearPair& m) { return m.pair.first == m.pair.second; });
        SortOnce(pairs);
    }
    map.Renumber(merger.Renumber(size));
    return {};
}

}  // namespace orvix::detection
