// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/regions/near_regions.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <optional>
#include <tuple>

#include "detection/cells/wall_between.h"

namespace orvix::detection {
namespace {

/// The cells of one region in one cube of `reach` cells.
struct Patch {
    std::int32_t region = 0;
    std::uint32_t first = 0;  // of the entries
    std::uint32_t last = 0;
};

/// A cell of a region: its place, and where in it the points lie.
struct Entry {
    std::int32_t region = 0;
    CellPlace place{};
    InnerBox box;
    std::uint32_t points = 0;
};

constexpr std::int64_t kParts = 256;      // of a cell's side, in which gaps are counted
constexpr double kRimParts = 64;          // a cell that lies so much farther is not at the rim
constexpr std::size_t kMaxContacts = 64;  // of two regions, across a gap, that are looked at
constexpr std::size_t kMinOpen = 4;       // times as many contacts without a wall as with one

class NearTile {
public:
    NearTile(const CellMap& map, std::size_t tile, const Nearness& nearness)
        : map_(map),
          nearness_(nearness),
          reach_(std::max(1, static_cast<std::int32_t>(nearness.bridge / map.Frame().Size() + 1 +
                                                       1e-9))) {  // BEHAVIOUR A5
        const double parts = nearness.bridge / map.Frame().Size() * kParts;
        maxSquaredGap_ = static_cast<std::int64_t>(parts * parts);
        const std::int32_t reach = reach_;
        CellPlace low = map.OriginOf(tile);
        for (std::int32_t& at : low) at -= reach;
        // The cube of each coordinate: a division costs as much as all the rest.
        std::vector<std::int32_t> cubeOf;
        for (std::int32_t i = 0; i < CellFrame::kMaxCellsPerAxis + 2 * reach; ++i)
            cubeOf.push_back(i / reach);
        const auto cube = [&](std::int32_t from) { return cubeOf[static_cast<std::size_t>(from)]; };
        std::vector<TileKey> cubes;
        std::vector<Entry> found;
        map.ForCellsWithin(tile, reach, [&](const CellPlace& p, std::size_t its, std::uint32_t at) {
            const TileKey key =
                KeyOf({cube(p[0] - low[0]), cube(p[1] - low[1]), cube(p[2] - low[2])}, {});
            const std::int32_t region = map.RegionOf(its, at);
            const std::uint32_t points = map.SummaryOf(its, at).Points();
            if (region != kNoRegion) {
                found.push_back({region, p, map.BoxOf(its, at), points});
                cubes.push_back(key);
            }
            for (const SmallPart& part : map.SmallOf(its, at)) {
                found.push_back({part.region + map.FirstRegion(its), p, part.box, points});
                cubes.push_back(key);
            }
        });
        const std::vector<std::uint32_t> order = AscendingOrder(cubes);
        entries_.reserve(order.size());
        for (std::size_t i = 0; i < order.size();) {
            const TileKey key = cubes[order[i]];
            const std::size_t first = i;
            bool mixed = false;
            for (; i < order.size() && cubes[order[i]] == key; ++i) {
                entries_.push_back(found[order[i]]);
                mixed |= entries_[i].region != entries_[first].region;
            }
            if (mixed)
                std::sort(entries_.begin() + static_cast<std::ptrdiff_t>(first), entries_.end(),
                          [](const Entry& a, const Entry& b) { return a.region < b.region; });
            AddPatches(key, static_cast<std::uint32_t>(first));
        }
    }

    std::vector<NearPair> Pairs() const {
        struct Contact {
            RegionPair pair;
            std::uint32_t a = 0, b = 0;  // patches
        };
        std::vector<Contact> contacts;
        const auto all = [](std::uint32_t) { return true; };
        ForColumnsAround(keys_, all, [&](std::uint32_t i, std::uint32_t first, std::uint32_t last) {
            // Patches of one cube follow each other: those before i have seen it.
            for (std::uint32_t j = std::max(first, i + 1); j < last; ++j)
                if (patches_[i].region != patches_[j].region)
                    contacts.push_back({std::minmax(patches_[i].region, patches_[j].region), i, j});
        });
        std::sort(contacts.begin(), contacts.end(), [](const Contact& a, const Contact& b) {
            return std::tie(a.pair, a.a, a.b) < std::tie(b.pair, b.a, b.b);
        });
        std::vector<NearPair> pairs;
        for (std::size_t i = 0; i < contacts.size();) {
            const RegionPair pair = contacts[i].pair;
            const std::size_t first = i;
            while (i < contacts.size() && contacts[i].pair == pair) ++i;
            if (!nearness_.mayJoin(pair)) continue;
            const Region& one = nearness_.regionOf(pair.first);
            Approach approach;
            approach.normal = one.plane.normal;
            const bool parted = !one.small && !nearness_.regionOf(pair.second).small;
            for (std::size_t k = first; k < i && !approach.touch; ++k)
                Approximate(patches_[contacts[k].a], patches_[contacts[k].b], parted, approach);
            if (!parted && approach.squaredGap <= maxSquaredGap_) approach.open = 1;
            if (parted && !approach.touch && approach.squaredGap <= maxSquaredGap_)
                for (std::size_t k = first; k < i; ++k)
                    LookAcross(patches_[contacts[k].a], patches_[contacts[k].b], approach);
            if (approach.IsNear() || approach.walls > 0)
                pairs.push_back({pair, approach.touch, !approach.IsNear(), approach.place,
                                 approach.Gap() * map_.Frame().Size()});
        }
        return pairs;
    }

private:
    void AddPatches(TileKey cube, std::uint32_t first) {
        const auto size = static_cast<std::uint32_t>(entries_.size());
        for (std::uint32_t i = first; i < size; ++i) {
            if (i == first || entries_[i].region != entries_[i - 1].region) {
                keys_.push_back(cube);
                patches_.push_back({entries_[i].region, i, i});
            }
            patches_.back().last = i + 1;
        }
    }
    /// What the contacts of two regions have shown so far.
    struct Approach {
        Vector normal;
        bool touch = false;
        std::int64_t squaredGap = std::numeric_limits<std::int64_t>::max();  // in parts
        Vector place;           // between the nearest cells
        std::size_t walls = 0;  // contacts across a gap with a wall between
        std::size_t open = 0;   // without one

        [[nodiscard]] double Gap() const {
            return std::sqrt(static_cast<double>(squaredGap)) / kParts;
        }
        [[nodiscard]] bool IsNear() const {
            return touch || (open > 0 && open >= kMinOpen * walls);
        }
    };

    // How near two patches come. `parted`: whether a wall may part them.
    void Approximate(const Patch& a, const Patch& b, bool parted, Approach& approach) const {
        for (std::uint32_t i = a.first; i < a.last; ++i) {
            for (std::uint32_t j = b.first; j < b.last; ++j) {
                const Entry& one = entries_[i];
                const Entry& other = entries_[j];
                const std::int64_t gap = SquaredGap(one.place, one.box, other.place, other.box);
                if (gap < approach.squaredGap) {
                    approach.squaredGap = gap;
                    approach.place = (MiddleOf(one) + MiddleOf(other)) * 0.5;
                }
                if (!Touch(one, other, gap)) continue;
                if (parted && MayHoldWall(gap) && ArePartedByWall(one, other, approach.normal))
                    continue;
                approach.touch = true;
                return;
            }
        }
    }
    // Looks for walls between the cells along the rims of the gap.
    void LookAcross(const Patch& a, const Patch& b, Approach& approach) const {
        const double widest = std::sqrt(static_cast<double>(approach.squaredGap)) + kRimParts;
        const auto maxSquaredGap =
            std::min(static_cast<std::int64_t>(widest * widest), maxSquaredGap_);
        for (std::uint32_t i = a.first; i < a.last; ++i) {
            for (std::uint32_t j = b.first; j < b.last; ++j) {
                const Entry& one = entries_[i];
                const Entry& other = entries_[j];
                if (SquaredGap(one.place, one.box, other.place, other.box) > maxSquaredGap)
                    continue;
                if (approach.walls + approach.open >= kMaxContacts) return;
                ++(ArePartedByWall(one, other, approach.normal) ? approach.walls : approach.open);
            }
        }
    }
    // Whether the points of cells that touch lie no farther apart than points do.
    [[nodiscard]] static bool Touch(const Entry& a, const Entry& b, std::int64_t gap) {
        for (std::size_t axis = 0; axis < 3; ++axis)
            if (std::abs(a.place[axis] - b.place[axis]) > 1) return false;
        const double points = std::max({a.points, b.points, 1U});
        return static_cast<double>(gap) <= MaxSquaredGap(points) * kParts * kParts;
    }
    // Whether a gap between cells that touch is as wide as a wall.
    [[nodiscard]] bool MayHoldWall(std::int64_t squaredGap) const {
        const double least = kMinWalledGap * kParts;
        return map_.Frame().Size() <= kMaxWalledCell &&
               static_cast<double>(squaredGap) > least * least;
    }
    [[nodiscard]] bool ArePartedByWall(const Entry& a, const Entry& b, const Vector& normal) const {
        return IsWallBetween(
            MiddleOf(a), MiddleOf(b), normal, map_.Frame().Size(),
            [&](const Vector& at, const Vector& across) {
                const std::optional<CellPlace> place = map_.Frame().PlaceOf(at);
                std::uint32_t cell = 0;
                const std::size_t tile = place ? map_.Find(*place, cell) : map_.Tiles();
                if (tile == map_.Tiles()) return false;
                const std::int32_t region = map_.RegionOf(tile, cell);
                return region == kNoRegion || map_.Frame().Size() > kMaxWalledCell ||
                       StandsAcross(nearness_.regionOf(region).plane.normal, across);
            });
    }
    [[nodiscard]] Vector MiddleOf(const Entry& entry) const {
        std::array<double, 3> at{};
        for (std::size_t axis = 0; axis < 3; ++axis)
            at[axis] = (entry.place[axis] +
                        (entry.box.low[axis] + entry.box.high[axis] + 1) / (2.0 * kParts)) *
                       map_.Frame().Size();
        return {at[0], at[1], at[2]};
    }

    const CellMap& map_;
    const Nearness& nearness_;
    std::int64_t maxSquaredGap_ = 0;
    std::int32_t reach_;
    std::vector<Entry> entries_;  // by cube, then by region
    std::vector<TileKey> keys_;   // of the patches: their cubes
    std::vector<Patch> patches_;
};

}  // namespace

std::vector<NearPair> NearPairsIn(const CellMap& map, std::size_t tile, const Nearness& nearness) {
    return NearTile(map, tile, nearness).Pairs();
}

}  // namespace orvix::detection
