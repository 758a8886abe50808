// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/regions/plane_choices.h"

#include <algorithm>
#include <cmath>

namespace orvix::detection {
namespace {

constexpr double kMinCosine = 0.98480775301220805937;  // of 10 degrees
constexpr std::uint32_t kBeside = ~std::uint32_t{0};   // a cell of another tile

/// The cells of a tile and those that touch it, by key.
struct Neighbourhood {
    std::vector<TileKey> keys;
    std::vector<std::int32_t> regions;
    std::vector<std::uint32_t> own;  // the tile's cell, or kBeside

    Neighbourhood(const CellMap& map, std::size_t tile) {
        CellPlace low = map.OriginOf(tile);
        for (std::int32_t& at : low) --at;
        std::vector<std::pair<TileKey, std::int32_t>> rim;
        map.ForCellsWithin(tile, 1,
                           [&](const CellPlace& place, std::size_t at, std::uint32_t cell) {
                               if (at != tile)
                                   rim.emplace_back(KeyOf(place, low), map.RegionOf(at, cell));
                           });
        std::sort(rim.begin(), rim.end());
        const std::size_t size = rim.size() + map.CellsIn(tile);
        keys.reserve(size);
        regions.reserve(size);
        own.reserve(size);
        std::size_t next = 0;
        for (std::uint32_t cell = 0; cell < map.CellsIn(tile); ++cell) {
            // One further from the corner than in its own tile.
            const TileKey key = map.SummaryOf(tile, cell).Key() + kKeyX + kKeyY + 1;
            for (; next < rim.size() && rim[next].first < key; ++next)
                Put(rim[next].first, rim[next].second, kBeside);
            Put(key, map.RegionOf(tile, cell), cell);
        }
        for (; next < rim.size(); ++next) Put(rim[next].first, rim[next].second, kBeside);
    }

private:
    void Put(TileKey key, std::int32_t region, std::uint32_t its) {
        keys.push_back(key);
        regions.push_back(region);
        own.push_back(its);
    }
};

/// The planes of one cell, as they are found.
class List {
public:
    void Clear() {
        planes_.clear();
        last_ = kNoRegion;
    }
    void Add(std::int32_t plane) {
        if (plane == kNoRegion || plane == last_) return;
        last_ = plane;
        const auto at = std::lower_bound(planes_.begin(), planes_.end(), plane);
        if (at == planes_.end() || *at != plane) planes_.insert(at, plane);
    }
    template <class Condition>
    void RemoveIf(Condition&& condition) {
        std::erase_if(planes_, condition);
    }
    [[nodiscard]] const std::vector<std::int32_t>& Planes() const { return planes_; }

private:
    std::vector<std::int32_t> planes_;
    std::int32_t last_ = kNoRegion;
};

/// Writes lists one after the other; a list equal to a recent one is not written again.
class ListWriter {
public:
    explicit ListWriter(std::vector<std::int32_t>& lists) : lists_(lists) { recent_.fill(0); }

    std::uint32_t Put(const std::vector<std::int32_t>& planes) {
        // Slot by the first plane: cells of a surface come back to the same few lists.
        std::uint32_t& recent =
            recent_[planes.empty() ? 0 : 1 + static_cast<std::size_t>(planes[0]) % (kSlots - 1)];
        if (!lists_.empty() && Same(planes, recent)) return recent;
        recent = static_cast<std::uint32_t>(lists_.size());
        lists_.push_back(static_cast<std::int32_t>(planes.size()));
        lists_.insert(lists_.end(), planes.begin(), planes.end());
        return recent;
    }

private:
    static constexpr std::size_t kSlots = 64;

    [[nodiscard]] bool Same(const std::vector<std::int32_t>& planes, std::uint32_t list) const {
        return lists_[list] == static_cast<std::int32_t>(planes.size()) &&
               std::equal(planes.begin(), planes.end(), lists_.begin() + list + 1);
    }

    std::vector<std::int32_t>& lists_;
    std::array<std::uint32_t, kSlots> recent_{};
};

}  // namespace

namespace {

// Whether two planes are one at a place.
bool AreOneAt(const Vector& place, const PlaneAt& a, const PlaneAt& b, double distance) {
    const double cosine = Dot(a.normal, b.normal);
    if (std::abs(cosine) < kMinCosine) return false;
    const double away = a.Distance(place) - (cosine < 0 ? -1 : 1) * b.Distance(place);
    return std::abs(away) <= distance;
}

}  // namespace

PlaneChoices::Tile PlaneChoices::ChoicesIn(const CellMap& map, const std::vector<Region>& regions,
                                           double distance, std::size_t tile) {
    const Neighbourhood around(map, tile);
    Tile choices;
    choices.listOf.resize(map.CellsIn(tile));
    ListWriter writer(choices.lists);
    List list;
    std::vector<std::int32_t> one;
    for (std::uint32_t cell = 0; cell < map.CellsIn(tile); ++cell) {
        if (!map.SummaryOf(tile, cell).IsInterior()) continue;
        one.clear();
        if (map.RegionOf(tile, cell) != kNoRegion) one.push_back(map.RegionOf(tile, cell));
        choices.listOf[cell] = writer.Put(one);
    }
    std::uint32_t columns = 0;
    const auto wanted = [&](std::uint32_t i) {
        return around.own[i] != kBeside && !map.SummaryOf(tile, around.own[i]).IsInterior();
    };
    ForColumnsAround(
        around.keys, wanted, [&](std::uint32_t i, std::uint32_t first, std::uint32_t last) {
            for (std::uint32_t j = first; j < last; ++j) list.Add(around.regions[j]);
            if (++columns % 9 != 0) return;
            const std::uint32_t cell = around.own[i];
            for (const SmallPart& part : map.SmallOf(tile, cell)) list.Add(part.region);
            const std::int32_t own = map.RegionOf(tile, cell);
            if (own != kNoRegion && list.Planes().size() > 1) {
                const Vector at = map.Frame().Middle(map.PlaceOf(tile, cell));
                const PlaneAt& home = regions[static_cast<std::size_t>(own)].plane;
                list.RemoveIf([&](std::int32_t other) {
                    return other != own &&
                           AreOneAt(at, home, regions[static_cast<std::size_t>(other)].plane,
                                    distance);
                });
            }
            choices.listOf[cell] = writer.Put(list.Planes());
            list.Clear();
        });
    return choices;
}

Expected<PlaneChoices> PlaneChoices::Of(const CellMap& map, const std::vector<Region>& regions,
                                        double distance, const parallel::Pool& pool) {
    return OfTiles(map, regions, distance, pool, 0, map.Tiles());
}

Expected<PlaneChoices> PlaneChoices::OfTiles(const CellMap& map, const std::vector<Region>& regions,
                                             double distance, const parallel::Pool& pool,
                                             std::size_t first, std::size_t last) {
    PlaneChoices choices;
    choices.tiles_.resize(map.Tiles());
    auto done = pool.RunJobs(last - first, [&](std::size_t job, unsigned) -> Expected<void> {
        choices.tiles_[first + job] = ChoicesIn(map, regions, distance, first + job);
        return {};
    });
    if (!done) return ErrorOf(done);
    return choices;
}

}  // namespace orvix::detection
