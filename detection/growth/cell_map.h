// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "detection/cells/cell_shapes.h"
#include "detection/cells/inner_box.h"
#include "detection/growth/region_growth.h"

namespace orvix::detection {

/// What is kept of a cell once its tile has been worked on, in 32 bits.
///
/// Boundaries counts end at 511: more points count as 511.
class CellSummary {
public:
    CellSummary() = default;
    CellSummary(TileKey key, double points, bool stands, bool interior)
        : bits_(key << 11 |
                static_cast<std::uint32_t>(points < kMaxPoints ? points : kMaxPoints) << 2 |
                (stands ? 2U : 0U) | (interior ? 1U : 0U)) {}

    [[nodiscard]] TileKey Key() const { return bits_ >> 11; }
    [[nodiscard]] std::uint32_t Points() const { return bits_ >> 2 & kMaxPoints; }
    /// Whether what it holds is steeper than 60 degrees, or no surface.
    [[nodiscard]] bool Stands() const { return (bits_ & 2) != 0; }
    /// Whether it lies inside its tile, no cell around it belongs to another region, and no small
    /// region passes it.
    [[nodiscard]] bool IsInterior() const { return (bits_ & 1) != 0; }

private:
    static constexpr std::uint32_t kMaxPoints = 511;
    std::uint32_t bits_ = 0;
};

/// A cell that a small region passes, one that grew from points and not from cells.
struct SmallPart {
    std::uint32_t cell = 0;
    std::int32_t region = 0;  ///< as CellMap::RegionOf gives it
    InnerBox box;             ///< of the region's own points
};

/// Every cell of a cloud: where it is, and which region it belongs to.
///
///     CellMap map(frame, tiles);
///     map.Put(tile, cells, shapes, regions, numbers);       // for every tile
///     map.Number(counts);
///     map.ForCellsWithin(tile, 1, [&](const CellPlace& place, std::size_t its, auto cell) {
///         Use(place, map.RegionOf(its, cell));
///     });
///
/// Shape    a cell is named by its tile and its number there.
/// Order    tiles by place, the cells of a tile by x, then y, then z; regions tile by tile, in the
///          order in which they grew.
/// Lifetime a region's number is its number in the tile until Number, then the one in the cloud.
/// Threads  Put for different tiles may run side by side; const calls may, after Number.
/// Cost     18 bytes per cell, 16 per cell of each small region.
class CellMap {
public:
    CellMap() = default;
    /// `tiles` ascend.
    CellMap(const CellFrame& frame, std::span<const CellPlace> tiles);

    void Put(std::size_t tile, const TileCells& cells, const std::vector<CellShape>& shapes,
             const std::vector<std::int32_t>& regions, std::vector<std::uint32_t> numbers,
             std::vector<SmallPart> small);
    /// Hands each list that Put keeps of a tile to `archive`, which stores it or sets it anew.
    template <class Archive>
    void Exchange(std::size_t tile, Archive& archive) {
        Tile& its = tiles_[tile];
        archive.List(its.summaries);
        archive.List(its.regions);
        archive.List(its.numbers);
        archive.List(its.boxes);
        archive.List(its.small, [&](SmallPart& part) {
            archive.Value(part.cell);
            archive.Value(part.region);
            archive.Value(part.box);
        });
    }
    /// Whether the lists of a tile fit each other, and no number in them leads out of them; of a tile
    /// that `regions` regions grew in.
    [[nodiscard]] bool IsSound(std::size_t tile, std::size_t regions) const;
    /// Numbers the regions through all tiles; `regions` holds how many each tile has.
    void Number(std::span<const std::uint32_t> regions);
    /// Gives each region its new number; kNoRegion for a region that is dropped.
    void Renumber(std::span<const std::int32_t> newNumbers);

    [[nodiscard]] const CellFrame& Frame() const { return frame_; }
    [[nodiscard]] std::size_t Tiles() const { return tiles_.size(); }
    [[nodiscard]] std::uint64_t Cells() const { return cells_; }
    [[nodiscard]] std::uint32_t CellsIn(std::size_t tile) const {
        return static_cast<std::uint32_t>(tiles_[tile].summaries.size());
    }
    [[nodiscard]] const CellPlace& OriginOf(std::size_t tile) const { return tiles_[tile].origin; }
    [[nodiscard]] CellSummary SummaryOf(std::size_t tile, std::uint32_t cell) const {
        return tiles_[tile].summaries[cell];
    }
    [[nodiscard]] CellPlace PlaceOf(std::size_t tile, std::uint32_t cell) const {
        return detection::PlaceOf(tiles_[tile].summaries[cell].Key(), tiles_[tile].origin);
    }
    [[nodiscard]] std::int32_t RegionOf(std::size_t tile, std::uint32_t cell) const {
        const std::int32_t region = tiles_[tile].regions[cell];
        return region == kNoRegion ? kNoRegion : tiles_[tile].firstRegion + region;
    }
    [[nodiscard]] const InnerBox& BoxOf(std::size_t tile, std::uint32_t cell) const {
        return tiles_[tile].boxes[cell];
    }
    /// The small regions that pass a cell of a tile, by their numbers.
    [[nodiscard]] std::span<const SmallPart> SmallOf(std::size_t tile, std::uint32_t cell) const;
    /// The same for all cells of a tile, by cell; the regions are numbered as in the tile, from
    /// FirstRegion on.
    [[nodiscard]] std::span<const SmallPart> SmallOf(std::size_t tile) const {
        return tiles_[tile].small;
    }
    [[nodiscard]] std::int32_t FirstRegion(std::size_t tile) const {
        return tiles_[tile].firstRegion;
    }
    /// Whether there are points in the cell at a place.
    [[nodiscard]] bool IsOccupied(const CellPlace& place) const {
        std::uint32_t cell = 0;
        return Find(place, cell) != Tiles();
    }
    /// The cell of a tile by its number in the order of first points.
    [[nodiscard]] std::uint32_t CellOfNumber(std::size_t tile, std::uint32_t number) const {
        return tiles_[tile].numbers[number];
    }
    /// The tile at a place (which counts tiles), or Tiles().
    [[nodiscard]] std::size_t TileAt(const CellPlace& tile) const;
    /// The tile of the cell at a place, with `cell` set; Tiles() for a place without points.
    [[nodiscard]] std::size_t Find(const CellPlace& place, std::uint32_t& cell) const;

    /// Calls use(place, tile, cell) for the cells of a tile and those up to `depth` cells around
    /// it, tile by tile.
    template <class Use>
    void ForCellsWithin(std::size_t tile, std::int32_t depth, Use&& use) const {
        CellPlace away;  // tiles
        for (std::size_t axis = 0; axis < 3; ++axis)
            away[axis] = (depth + frame_.PerTile(axis) - 1) / frame_.PerTile(axis);
        const CellPlace& home = tiles_[tile].place;
        const CellPlace& origin = tiles_[tile].origin;
        const auto inside = [&](const CellPlace& place) {
            bool within = true;
            for (std::size_t axis = 0; axis < 3; ++axis)
                within &= place[axis] >= origin[axis] - depth &&
                          place[axis] < origin[axis] + frame_.PerTile(axis) + depth;
            return within;
        };
        for (std::int32_t x = -away[0]; x <= away[0]; ++x) {
            for (std::int32_t y = -away[1]; y <= away[1]; ++y) {
                for (std::int32_t z = -away[2]; z <= away[2]; ++z) {
                    const std::size_t at = TileAt({home[0] + x, home[1] + y, home[2] + z});
                    if (at == Tiles()) continue;
                    const auto [first, last] =
                        SliceOf(at, origin[0] - depth, frame_.PerTile(0) + 2 * depth);
                    for (std::uint32_t cell = first; cell < last; ++cell) {
                        const CellPlace place = PlaceOf(at, cell);
                        if (at == tile || inside(place)) use(place, at, cell);
                    }
                }
            }
        }
    }
    /// Calls use(summary) for the cells of an upright column from `low` to `high`, both included,
    /// until it returns false.
    template <class Use>
    void ForColumn(std::int32_t x, std::int32_t y, std::int32_t low, std::int32_t high,
                   Use&& use) const {
        const std::int32_t side = frame_.PerTile(2);
        for (std::int32_t z = low; z <= high;) {
            const CellPlace tile = frame_.TileOf({x, y, z});
            const std::int32_t end = std::min(high, tile[2] * side + side - 1);
            const std::size_t at = TileAt(tile);
            if (at != Tiles()) {
                const Tile& its = tiles_[at];
                const TileKey last = KeyOf({x, y, end}, its.origin);
                for (std::size_t i = LowerBound(its, KeyOf({x, y, z}, its.origin));
                     i < its.summaries.size() && its.summaries[i].Key() <= last; ++i)
                    if (!use(its.summaries[i])) return;
            }
            z = end + 1;
        }
    }

    static constexpr std::uint64_t kBytesPerCell =
        sizeof(CellSummary) + sizeof(std::int32_t) + sizeof(std::uint32_t) + sizeof(InnerBox);

private:
    struct Tile {
        CellPlace place{};
        CellPlace origin{};
        std::int32_t firstRegion = 0;
        std::vector<CellSummary> summaries;  // by key
        std::vector<std::int32_t> regions;   // of the same cells
        std::vector<std::uint32_t> numbers;
        std::vector<InnerBox> boxes;   // of the same cells
        std::vector<SmallPart> small;  // by cell, then by region
    };

    static std::size_t LowerBound(const Tile& tile, TileKey key);
    /// The tile's cells with x from `low` on over `width` cells: the first, and the one past the
    /// last.
    [[nodiscard]] std::pair<std::uint32_t, std::uint32_t> SliceOf(std::size_t tile,
                                                                  std::int32_t low,
                                                                  std::int32_t width) const;

    CellFrame frame_;
    std::vector<Tile> tiles_;  // by place
    std::uint64_t cells_ = 0;
};

}  // namespace orvix::detection
