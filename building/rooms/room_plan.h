// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "building/rooms/room_cells.h"

namespace orvix::building {

/// A line that may bound rooms, normal . p = offset, and the stretch of it that was seen.
struct BoundLine {
    PlanPoint normal;
    double offset = 0;
    double begin = 0;  ///< along (-normal.y, normal.x)
    double end = 0;
    std::optional<std::size_t> wall;  ///< place of the piece whose face it is

    [[nodiscard]] double Before(const PlanPoint& p) const {
        return p.x * normal.x + p.y * normal.y - offset;
    }
    [[nodiscard]] double Along(const PlanPoint& p) const { return p.y * normal.x - p.x * normal.y; }
};

/// The faces of walls and the sides of open bounds.
std::vector<BoundLine> BoundLinesOf(const std::vector<WallPiece>& walls,
                                    const std::vector<OpenBound>& bounds);

/// Adds the upright edges of a slab between a ceiling and the floor above it, up to 2 m apart: they
/// bound stairwells and galleries from both sides.
void AddSlabEdges(const std::vector<FaceLine>& faces, double ceiling, double floor,
                  const std::vector<WallPiece>& walls, std::vector<BoundLine>& lines);

/// A room's plan: corners are crossings of the lines that bound it, never rounded.
struct RoomPlan {
    PlanRegion region;
    std::vector<PlanRing> pieces;  ///< convex, counter-clockwise; together the region
    std::vector<BoundLine> lines;  ///< those that bound it
    double open = 0;               ///< metres of its outline that lie on no wall
};

/// Draws the plan of a room's cells.
///
/// Lines near the cells' rim cut the plane; a part is the room's where more of its cells are the
/// room's than others'. Where no line is near the rim over 0.4 m and more (the rim of a stairwell),
/// one is laid through it, parallel or square to the others.
///
/// Errors  no plan where the parts leave nothing.
std::optional<RoomPlan> DrawRoom(const RoomCells& cells, std::int32_t room,
                                 const std::vector<BoundLine>& lines);

}  // namespace orvix::building
