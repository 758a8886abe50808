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
constexpr double kMaxTouching = 0.7;
constexpr double kMaxSliced = 3;           // rms of halves: how far apart they lie
constexpr double kMinCosineToFace = 0.99;  // of a surface that a face between tiles slices
constexpr double kMaxFromFace = 3;         // rms of both: how far from the face it lies
constexpr double kMaxTail = 0.7;           // times its surface's rms: what a cell's face cuts off
constexpr double kMaxApart = 0.35;
constexpr double kMaxSmallApart = 0.6;  // where one of them is small: it may be turned by its noise
constexpr double kWaves = 2;      // times the waves of the rougher piece: what a wavy surface adds
constexpr double kMaxRise = 1.7;  // of distance and waves: over the width of the narrower piece
constexpr double kMaxReach = 20;  // cells: what lies farther apart is not joined
// Of two faces of so many square metres at most, with so many points at least, a gap that is wider than
// that share of the bridge, or than so many widths of the narrower one, parts the two.
constexpr double kSmallFace = 1;
constexpr double kMinOfFace = 80;
constexpr double kSmallBridge = 0.56;
constexpr double kMaxWidths = 2;
constexpr double kNever = std::numeric_limits<double>::infinity();

class Merger {
public:
    Merger(const GrowthLimits& growth, const CellFrame& frame, std::vector<Region>& regions)
        : growth_(growth), frame_(frame), regions_(regions), parent_(regions.size()) {
        std::iota(parent_.begin(), parent_.end(), 0);
    }

    std::int32_t Root(std::int32_t i) {
        while (Parent(i) != i) i = Parent(i) = Parent(Parent(i));
        return i;
    }
    // How much the mean square distance grows, of the worse of the two, when they become one;
    // infinite where they must not.
    // `place`: where they come nearest, if that is known.
    [[nodiscard]] double Loss(const RegionPair& pair, bool touch,
                              const Vector* place = nullptr) const {
        const Region& a = At(pair.first);
        const Region& b = At(pair.second);
        if (std::abs(Dot(a.plane.normal, b.plane.normal)) < growth_.minCosine) return kNever;
        const Region both = Union(a, b);
        if (place != nullptr && IsStep(a, b, both, *place)) return kNever;
        if (AreTurned(a, b, both)) return kNever;
        const double loss =
            std::max(Spread(a, both.plane) - a.rms * a.rms, Spread(b, both.plane) - b.rms * b.rms);
        // Of a step between the two, the plane of both is so much nearer to the larger one.
        const double share = std::max(a.sum.count, b.sum.count) / both.sum.count;
        const double most = Allowed(a, b, both, touch) * share;
        return loss > most * most ? kNever : loss;
    }
    // How much waves add to what two pieces allow that touch.
    [[nodiscard]] double WaveOfBoth(const Region& a, const Region& b) const {
        return std::min(MaxWave(std::min(a.extent, b.extent), growth_),
                        kWaves * std::max(WaveOf(a), WaveOf(b)));
    }
    // Whether the planes of two pieces lie apart where the pieces come nearest. Over a step the plane
    // of both leans, and is far from neither on the whole.
    [[nodiscard]] bool IsStep(const Region& a, const Region& b, const Region& both,
                              const Vector& place) const {
        // A small piece's plane says little beside it, and a distance that is asked for is kept.
        if (a.small || b.small || growth_.fixed) return false;
        const bool turned = Dot(a.plane.normal, b.plane.normal) < 0;
        const double step = a.plane.Distance(place) - b.plane.Distance(place) * (turned ? -1 : 1);
        // What a smooth piece explains is the most that a rough one beside it may be away.
        const Region& smooth = a.rough ? b : a;
        const double tight = TightDistance(a.rough == b.rough ? both : smooth, growth_);
        return std::abs(step) > tight + WaveOfBoth(a, b) && !IsSlicedByTiles(both);
    }
    // Whether two pieces lean against each other, as faces on both sides of an edge do: across the
    // narrower one, the other's plane rises by more than noise and waves explain. BEHAVIOUR A21
    [[nodiscard]] bool AreTurned(const Region& a, const Region& b, const Region& both) const {
        if (a.small || b.small || growth_.fixed) return false;
        const double cosine = Dot(a.plane.normal, b.plane.normal);
        const double sine = std::sqrt(std::max(1 - cosine * cosine, 0.0));
        const double most = kMaxRise * (TightDistance(both, growth_) + WaveOfBoth(a, b));
        if (sine * std::sqrt(std::min(a.extent, b.extent)) <= most) return false;  // nor its width
        return sine * std::min(WidthOf(a), WidthOf(b)) > most && !IsSlicedByTiles(both);
    }
    // Whether a face between tiles slices a surface: its noise puts half of its points into the tile
    // above, half into the one below, and the halves lie 2.7 times their rms apart. Of a surface that
    // lies beside the face, a tail is cut off.
    [[nodiscard]] bool IsSlicedByTiles(const Region& both) const {
        const Vector& n = both.plane.normal;
        const Vector& c = both.plane.centre;
        const std::array<double, 3> cosines{n.x, n.y, n.z}, centre{c.x, c.y, c.z};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            if (std::abs(cosines[axis]) < kMinCosineToFace) continue;
            const double side = frame_.PerTile(axis) * frame_.Size();
            const double tiles = centre[axis] / side;
            return std::abs(tiles - std::floor(tiles + 0.5)) * side <= kMaxFromFace * both.rms;
        }
        return false;
    }
    // Whether a face between cells cuts a piece off the noise of a larger one: it lies beyond that face,
    // and is thinner than a surface of its own would be. BEHAVIOUR A23
    [[nodiscard]] bool IsTailOf(const Region& large, const Region& tail) const {
        if (large.small || tail.small || tail.sum.count > large.sum.count) return false;
        if (tail.rms > kMaxTail * large.rms) return false;
        const Vector& n = large.plane.normal;
        const Vector& c = tail.plane.centre;
        const std::array<double, 3> cosines{n.x, n.y, n.z}, centre{c.x, c.y, c.z};
        const double away = large.plane.Distance(c);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            if (std::abs(cosines[axis]) < kMinCosineToFace) continue;
            const double foot = (centre[axis] - away / cosines[axis]) / frame_.Size();
            return std::floor(foot) != std::floor(centre[axis] / frame_.Size());
        }
        return false;
    }
    // Whether two pieces that come so near are faces of their own. Fronts of drawers, steps and tops of
    // tables lie in one plane; what hides so much of a large surface, such as a cupboard before a wall,
    // hides a small one whole.
    [[nodiscard]] bool AreTwoFaces(const RegionPair& pair, double gap, double bridge) const {
        const Region& a = At(pair.first);
        const Region& b = At(pair.second);
        if (std::max(a.extent, b.extent) > kSmallFace) return false;
        if (std::min(a.sum.count, b.sum.count) < kMinOfFace) return false;
        return gap > kSmallBridge * bridge || gap > kMaxWidths * std::min(WidthOf(a), WidthOf(b));
    }
    // How far the mean of a piece may lie from the plane of the whole.
    [[nodiscard]] double Allowed(const Region& a, const Region& b, const Region& both,
                                 bool touch) const {
        const double tight = TightDistance(both, growth_);
        if (!touch) return (a.small || b.small ? kMaxSmallApart : kMaxApart) * tight;
        const double most = kMaxTouching * (tight + WaveOfBoth(a, b));
        const bool sliced = IsSlicedByTiles(both) || IsTailOf(a, b) || IsTailOf(b, a);
        return sliced ? std::max(most, kMaxSliced * std::max(a.rms, b.rms)) : most;
    }
    void Join(const RegionPair& pair) {
        Region& into = regions_[static_cast<std::size_t>(pair.first)];
        into = Union(into, At(pair.second));
        Parent(pair.second) = pair.first;
    }
    // The number that each region ends with, without gaps; kNoRegion for one that is too small,
    // which `leftOut` counts.
    std::vector<std::int32_t> Renumber(double cellSize, std::uint64_t& leftOut) {
        std::vector<std::int32_t> numbers(regions_.size(), kNoRegion);
        std::size_t kept = 0;
        for (std::size_t i = 0; i < regions_.size(); ++i) {
            const std::int32_t root = Root(static_cast<std::int32_t>(i));
            if (root != static_cast<std::int32_t>(i)) {
                numbers[i] = numbers[static_cast<std::size_t>(root)];
            } else if (IsLargeEnough(regions_[i], growth_, cellSize)) {
                numbers[i] = static_cast<std::int32_t>(kept);
                regions_[kept++] = regions_[i];
            } else {
                ++leftOut;  // BEHAVIOUR A17
            }
        }
        regions_.resize(kept);
        return numbers;
    }

    [[nodiscard]] const Region& At(std::int32_t i) const {
        return regions_[static_cast<std::size_t>(i)];
    }

private:
    std::int32_t& Parent(std::int32_t i) { return parent_[static_cast<std::size_t>(i)]; }
    static Region Union(const Region& a, const Region& b) {
        Region both = a;
        both.sum.Add(b.sum.About(a.origin - b.origin));
        both.cells += b.cells;
        both.scatter += b.scatter;
        both.scattered += b.scattered;
        both.small = a.small && b.small;
        both.rough = a.rough || b.rough;
        Refit(both);
        return both;
    }
    // Across a region, as if its points were spread evenly.
    static double WidthOf(const Region& region) {
        return std::sqrt(12 * SpreadOf(region.sum.Covariance()).middle);
    }
    // The mean square distance of a region's points from a plane.
    static double Spread(const Region& region, const PlaneAt& plane) {
        const double away = plane.Distance(region.plane.centre);
        return QuadraticForm(region.sum.Covariance(), plane.normal) + away * away;
    }

    const GrowthLimits& growth_;
    CellFrame frame_;
    std::vector<Region>& regions_;
    std::vector<std::int32_t> parent_;
};

// Each pair once; it touches where any of its pairs does, and else a wall stands between where one
// does between any of them: what grew small beside a wall does not lead around it.
void SortOnce(std::vector<NearPair>& pairs) {
    std::sort(pairs.begin(), pairs.end(), [](const NearPair& a, const NearPair& b) {
        if (a.pair != b.pair) return a.pair < b.pair;
        if (a.touch != b.touch) return a.touch;
        return a.wall != b.wall ? a.wall : a.gap < b.gap;
    });
    const auto samePair = [](const NearPair& a, const NearPair& b) { return a.pair == b.pair; };
    pairs.erase(std::unique(pairs.begin(), pairs.end(), samePair), pairs.end());
}

Expected<std::vector<NearPair>> NearPairsOf(const CellMap& map, double bridge, const Merger& merger,
                                            const parallel::Pool& pool) {
    const Nearness nearness{
        bridge, [&](const RegionPair& pair) { return merger.Loss(pair, true) < kNever; },
        [&](std::int32_t region) -> const Region& { return merger.At(region); }};
    std::vector<std::vector<NearPair>> parts(map.Tiles());
    auto done = pool.RunJobs(map.Tiles(), [&](std::size_t tile, unsigned) -> Expected<void> {
        parts[tile] = NearPairsIn(map, tile, nearness);
        return {};
    });
    if (!done) return ErrorOf(done);
    std::vector<NearPair> pairs;
    for (const auto& part : parts) pairs.insert(pairs.end(), part.begin(), part.end());
    SortOnce(pairs);
    return pairs;
}

// Joins the best pairs, each region once; false when no pair is left that may join.
bool JoinOnce(const std::vector<NearPair>& pairs, double bridge, std::size_t regions,
              Merger& merger) {
    std::vector<std::pair<double, RegionPair>> ranked;
    for (const NearPair& near : pairs) {
        if (near.wall) continue;
        if (!near.touch && merger.AreTwoFaces(near.pair, near.gap, bridge)) continue;
        const double loss = merger.Loss(near.pair, near.touch, &near.place);
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

Expected<MergedRegions> MergeRegions(const GrowthLimits& growth, double bridge,
                                     const parallel::Pool& pool, CellMap& map,
                                     std::vector<Region>& regions) {
    const double size = map.Frame().Size();
    Merger merger(growth, map.Frame(), regions);
    auto found = NearPairsOf(map, std::min(bridge, kMaxReach * size), merger, pool);
    if (!found) return ErrorOf(found);
    std::vector<NearPair> pairs = std::move(*found);
    while (JoinOnce(pairs, bridge, regions.size(), merger)) {
        if (!pool.Proceed())
            return Fail(ErrorCode::Cancelled, "the search for planes was cancelled");
        for (NearPair& near : pairs)
            near.pair = std::minmax(merger.Root(near.pair.first), merger.Root(near.pair.second));
        std::erase_if(pairs, [](const NearPair& m) { return m.pair.first == m.pair.second; });
        SortOnce(pairs);
    }
    MergedRegions merged;
    merged.numbers = merger.Renumber(size, merged.leftOut);
    map.Renumber(merged.numbers);
    return merged;
}

}  // namespace orvix::detection
