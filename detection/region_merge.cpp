// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/region_merge.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <tuple>

namespace orvix::detection {
namespace {

using Pair = std::pair<std::uint32_t, std::uint32_t>;

/// A cell of a region, under the cell of the bridge's size that it lies in.
struct Presence {
    CellPlace place{};
    std::uint32_t region = 0;
    CellPlace cell{};
    auto operator<=>(const Presence&) const = default;
};

std::int32_t FloorBy(std::int32_t value, std::int32_t by) {
    return value >= 0 ? value / by : -((-value - 1) / by) - 1;
}

// The presences of the regions that take part; `each` false: one for each place is enough.
template <class TakesPart>
std::vector<Presence> PresencesOf(const CellGrid& grid, const Regions& regions, std::int32_t reach,
                                  bool each, TakesPart&& takesPart) {
    std::vector<Presence> presences;
    for (std::uint32_t i = 0; i < regions.regions.size(); ++i) {
        if (!takesPart(i)) continue;
        CellPlace last{std::numeric_limits<std::int32_t>::max()};
        for (const std::uint32_t cell : regions.regions[i].cells) {
            const CellPlace& p = grid[cell].place;
            const CellPlace place{FloorBy(p[0], reach), FloorBy(p[1], reach), FloorBy(p[2], reach)};
            if (each || !Same(place, last)) presences.push_back({place, i, p});
            last = place;
        }
    }
    std::sort(presences.begin(), presences.end());
    return presences;
}

/// The cells of one region in one cell of the bridge's size: a stretch of the presences.
struct Patch {
    CellPlace place{};
    std::uint32_t region = 0;
    std::size_t first = 0;
    std::size_t last = 0;
};

std::vector<Patch> PatchesOf(const std::vector<Presence>& presences) {
    std::vector<Patch> patches;
    for (std::size_t i = 0; i < presences.size(); ++i) {
        const Presence& p = presences[i];
        if (patches.empty() || patches.back().place != p.place || patches.back().region != p.region)
            patches.push_back({p.place, p.region, i, i});
        patches.back().last = i + 1;
    }
    return patches;
}

// Whether cells of the two patches lie within so many cells of each other along every axis.
bool Near(const std::vector<Presence>& presences, const Patch& a, const Patch& b,
          std::int32_t reach) {
    for (std::size_t i = a.first; i < a.last; ++i) {
        for (std::size_t j = b.first; j < b.last; ++j) {
            bool near = true;
            for (std::size_t axis = 0; axis < 3; ++axis)
                near &= std::abs(presences[i].cell[axis] - presences[j].cell[axis]) <= reach;
            if (near) return true;
        }
    }
    return false;
}

// Pairs of regions, lower number first, with patches that touch and that `meets` accepts.
template <class Meets>
std::vector<Pair> PairsOf(const std::vector<Patch>& patches, Meets&& meets) {
    std::vector<Pair> pairs;
    const auto look = [&](const Patch& patch, const CellPlace& place) {
        auto at = std::lower_bound(
            patches.begin(), patches.end(), place,
            [](const Patch& other, const CellPlace& wanted) { return other.place < wanted; });
        for (; at != patches.end() && Same(at->place, place); ++at)
            if (at->region != patch.region && meets(patch, *at))
                pairs.push_back(std::minmax(patch.region, at->region));
    };
    for (const Patch& patch : patches) {
        const CellPlace& p = patch.place;
        // The half of the neighbours that come later in the order, and the cell itself.
        for (std::int32_t x = 0; x <= 1; ++x)
            for (std::int32_t y = -1; y <= 1; ++y)
                for (std::int32_t z = -1; z <= 1; ++z)
                    if (std::tuple(x, y, z) >= std::tuple(0, 0, 0))
                        look(patch, {p[0] + x, p[1] + y, p[2] + z});
    }
    std::sort(pairs.begin(), pairs.end());
    pairs.erase(std::unique(pairs.begin(), pairs.end()), pairs.end());
    return pairs;
}

class Merger {
public:
    Merger(const GrowthLimits& limits, double slack, Regions& regions)
        : limits_(limits), slack_(slack), regions_(regions), parent_(regions.regions.size()) {
        std::iota(parent_.begin(), parent_.end(), 0U);
    }

    std::uint32_t Root(std::uint32_t i) {
        while (parent_[i] != i) i = parent_[i] = parent_[parent_[i]];
        return i;
    }
    // What the worse of the two loses when they become one; infinite where they must not.
    [[nodiscard]] double Loss(std::uint32_t i, std::uint32_t j) const {
        constexpr double kNever = std::numeric_limits<double>::infinity();
        const Region& a = regions_.regions[i];
        const Region& b = regions_.regions[j];
        if (std::abs(Dot(a.plane.normal, b.plane.normal)) < limits_.leastCos) return kNever;
        const Region both = Union(a, b);
        const double loss = std::max(Excess(a, both.plane), Excess(b, both.plane));
        return loss <= slack_ * slack_ ? loss : kNever;
    }
    void Join(std::uint32_t i, std::uint32_t j) {
        Region& into = regions_.regions[i];
        Region& from = regions_.regions[j];
        const Region both = Union(into, from);
        into.plane = both.plane;
        into.sum = both.sum;
        into.rms = both.rms;
        into.cells.insert(into.cells.end(), from.cells.begin(), from.cells.end());
        from.cells = {};
        parent_[j] = i;
    }
    void CloseRanks() {
        std::size_t kept = 0;
        for (std::size_t i = 0; i < regions_.regions.size(); ++i) {
            if (parent_[i] != i) continue;
            for (const std::uint32_t cell : regions_.regions[i].cells)
                regions_.ofCell[cell] = static_cast<std::int32_t>(kept);
            if (kept != i) regions_.regions[kept] = std::move(regions_.regions[i]);
            ++kept;
        }
        regions_.regions.resize(kept);
    }

private:
    static Region Union(const Region& a, const Region& b) {
        Region both;
        both.origin = a.origin;
        both.sum = a.sum;
        both.sum.Add(b.sum.About(a.origin - b.origin));
        Refit(both);
        return both;
    }
    static double Excess(const Region& region, const PlaneAt& plane) {
        const double away = plane.Distance(region.plane.centre);
        return Along(region.sum.Covariance(), plane.normal) + away * away - region.rms * region.rms;
    }

    GrowthLimits limits_;
    double slack_;
    Regions& regions_;
    std::vector<std::uint32_t> parent_;
};

// First whose regions touch roughly and may be one, then, of those alone, who is near cell by cell.
std::vector<Pair> NearPairs(const CellGrid& grid, std::int32_t reach, const Merger& merger,
                            const Regions& regions) {
    const auto rough = PresencesOf(grid, regions, reach, false, [](std::uint32_t) { return true; });
    std::vector<Pair> likely =
        PairsOf(PatchesOf(rough), [](const Patch&, const Patch&) { return true; });
    std::erase_if(likely, [&merger](const Pair& pair) {
        return merger.Loss(pair.first, pair.second) == std::numeric_limits<double>::infinity();
    });
    std::vector<bool> takesPart(regions.regions.size());
    for (const auto& [i, j] : likely) takesPart[i] = takesPart[j] = true;
    const auto exact = PresencesOf(grid, regions, reach, true,
                                   [&takesPart](std::uint32_t i) { return takesPart[i]; });
    return PairsOf(PatchesOf(exact), [&](const Patch& a, const Patch& b) {
        return std::binary_search(likely.begin(), likely.end(),
                                  Pair(std::minmax(a.region, b.region))) &&
               Near(exact, a, b, reach);
    });
}

}  // namespace

void MergeRegions(const CellGrid& grid, const GrowthLimits& limits, double bridge, double slack,
                  Regions& regions) {
    Merger merger(limits, slack, regions);
    const auto reach =
        std::max(1, static_cast<std::int32_t>(bridge / grid.Frame().Size() + 1 + 1e-9));
    std::vector<Pair> pairs = NearPairs(grid, reach, merger, regions);
    while (!pairs.empty()) {
        std::vector<std::tuple<double, std::uint32_t, std::uint32_t>> ranked;
        for (const auto& [i, j] : pairs) {
            const double loss = merger.Loss(i, j);
            if (loss < std::numeric_limits<double>::infinity()) ranked.emplace_back(loss, i, j);
        }
        std::sort(ranked.begin(), ranked.end());
        // A region that changed is judged anew in the next turn.
        std::vector<bool> changed(regions.regions.size());
        bool any = false;
        for (const auto& [loss, i, j] : ranked) {
            if (changed[i] || changed[j]) continue;
            merger.Join(i, j);
            changed[i] = changed[j] = any = true;
        }
        if (!any) break;
        for (auto& [i, j] : pairs) std::tie(i, j) = std::minmax(merger.Root(i), merger.Root(j));
        std::sort(pairs.begin(), pairs.end());
        pairs.erase(std::unique(pairs.begin(), pairs.end()), pairs.end());
        std::erase_if(pairs, [](const Pair& pair) { return pair.first == pair.second; });
    }
    merger.CloseRanks();
}

}  // namespace orvix::detection
