// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "detection/growth/cell_map.h"
#include "parallel/pool.h"

namespace orvix::detection {

/// For each cell, the planes that pass it or a cell beside it: those that its points may belong to.
/// A plane that grew from points is a choice of the cells alone that it passes.
///
///     for (const std::int32_t plane : choices.At(tile, cell)) Compare(point, plane);
///
/// Order   the planes of a cell ascend.
/// Errors  Of fails only with Cancelled.
/// Cost    4 bytes per cell, and some more where several planes pass.
class PlaneChoices {
public:
    PlaneChoices() = default;
    /// Where a cell has a region of its own, others that lie within `distance` of it there are no
    /// choice: two pieces of one plane on both sides of a wall do not share their rims.
    static Expected<PlaneChoices> Of(const CellMap& map, const std::vector<Region>& regions,
                                     double distance, const parallel::Pool& pool);
    /// Those of the cells of some tiles, `last` being past the last one; the map holds these and all
    /// tiles that touch them.
    static Expected<PlaneChoices> OfTiles(const CellMap& map, const std::vector<Region>& regions,
                                          double distance, const parallel::Pool& pool,
                                          std::size_t first, std::size_t last);

    [[nodiscard]] std::span<const std::int32_t> At(std::size_t tile, std::uint32_t cell) const {
        const Tile& its = tiles_[tile];
        const std::int32_t* list = its.lists.data() + its.listOf[cell];
        return {list + 1, static_cast<std::size_t>(list[0])};
    }

private:
    /// A list is a count and so many planes; equal lists that follow each other are kept once.
    struct Tile {
        std::vector<std::uint32_t> listOf;
        std::vector<std::int32_t> lists;
    };

    static Tile ChoicesIn(const CellMap& map, const std::vector<Region>& regions, double distance,
                          std::size_t tile);

    std::vector<Tile> tiles_;
};

}  // namespace orvix::detection
