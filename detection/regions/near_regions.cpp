// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/regions/near_regions.h"

#include <algorithm>
#include <cstdlib>

namespace orvix::detection {
namespace {

/// The cells of one region in one cube of `reach` cells.
struct Patch {
    std::int32_t region = 0;
    std::uint32_t first = 0;  // of the entries
    std::uint32_t last = 0;
};

/// A cell of a region, by its place.
struct Entry {
    std::int32_t region = 0;
    CellPlace place{};
};

class NearTile {
public:
    NearTile(const CellMap& map, std::size_t tile, std::int32_t reach) : reach_(reach) {
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
            const std::int32_t region = map.RegionOf(its, at);
            if (region == kNoRegion) return;
            found.push_back({region, p});
            cubes.push_back(
                KeyOf({cube(p[0] - low[0]), cube(p[1] - low[1]), cube(p[2] - low[2])}, {}));
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

    std::vector<NearPair> Pairs(const std::function<bool(const RegionPair&)>& mayJoin) const {
        struct Contact {
            RegionPair pair;
            std::uint32_t a = 0, b = 0;  // patches
        };
        std::vector<Contact> contacts;
        const auto all = [](std::uint32_t) { return true; };
        ForColumnsAround(keys_, all, [&](std::uint32_t i, std::uint32_t first, std::uint32_t last) {
            for (std::uint32_t j = std::max(first, i + 1); j < last; ++j)
                if (patches_[i].region != patches_[j].region)
                    contacts.push_back({std::minmax(patches_[i].region, patches_[j].region), i, j});
        });
        std::sort(contacts.begin(), contacts.end(),
                  [](const Contact& a, const Contact& b) { return a.pair < b.pair; });
        std::vector<NearPair> pairs;
        for (std::size_t i = 0; i < contacts.size();) {
            const RegionPair pair = contacts[i].pair;
            std::int32_t away = mayJoin(pair) ? reach_ + 1 : 0;
            for (; i < contacts.size() && contacts[i].pair == pair; ++i)
                if (away > 1)
                    away = std::min(away, Away(patches_[contacts[i].a], patches_[contacts[i].b]));
            if (away > 0 && away <= reach_) pairs.push_back({pair, away == 1});
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
    // How many cells the closest two of the patches lie apart.
    [[nodiscard]] std::int32_t Away(const Patch& a, const Patch& b) const {
        std::int32_t nearest = reach_ + 1;
        for (std::uint32_t i = a.first; i < a.last; ++i) {
            for (std::uint32_t j = b.first; j < b.last; ++j) {
                std::int32_t away = 1;
                for (std::size_t axis = 0; axis < 3; ++axis)
                    away =
                        std::max(away, std::abs(entries_[i].place[axis] - entries_[j].place[axis]));
                nearest = std::min(nearest, away);
                if (nearest == 1) return nearest;
            }
        }
        return nearest;
    }

    std::int32_t reach_;
    std::vector<Entry> entries_;  // by cube, then by region
    std::vector<TileKey> keys_;   // of the patches: their cubes
    std::vector<Patch> patches_;
};

}  // namespace

std::vector<NearPair> NearPairsIn(const CellMap& map, std::size_t tile, std::int32_t reach,
                                  const std::function<bool(const RegionPair&)>& mayJoin) {
    return NearTile(map, tile, reach).Pairs(mayJoin);
}

}  // namespace orvix::detection
