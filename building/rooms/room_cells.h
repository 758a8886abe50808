// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "building/plan_grid.h"
#include "building/scan_evidence.h"
#include "building/walls/wall_pieces.h"

namespace orvix::building {

/// Columns and rows that hold cells of one room; the last ones are not among them.
struct CellBox {
    std::int64_t left = 0, bottom = 0, right = 0, top = 0;
    std::size_t cells = 0;  ///< of the room
};

/// The plan of a storey, cell by cell.
struct RoomCells {
    enum Kind : std::uint8_t { kUnknown, kWall, kFree };
    /// Whether rays went through the slab over or under a cell: a well is up to 8 square metres.
    enum Opening : std::uint8_t { kClosed, kWell, kGallery };

    PlanGrid grid;
    std::vector<std::uint8_t> kinds;
    std::vector<std::uint8_t> openAbove;  ///< an Opening in the slab above
    std::vector<std::uint8_t> openBelow;  ///< an Opening in the floor
    std::vector<std::int32_t> rooms;      ///< of each cell, from 0; -1: none
    std::size_t count = 0;                ///< rooms
    std::vector<CellBox> boxes;           ///< of each room

    /// Sets `boxes` from `rooms` and `count`.
    void FindBoxes();
    [[nodiscard]] const CellBox& BoxOf(std::int32_t room) const {
        return boxes[static_cast<std::size_t>(room)];
    }
    /// Calls `use(column, row)` for each cell of a room.
    template <class Use>
    void ForEachCell(std::int32_t room, const Use& use) const {
        const CellBox& box = BoxOf(room);
        for (std::int64_t j = box.bottom; j < box.top; ++j)
            for (std::int64_t i = box.left; i < box.right; ++i)
                if (rooms[grid.At(i, j)] == room) use(i, j);
    }
};

/// Finds the cells of each room: open space that hangs together between walls and open bounds, under a
/// ceiling, of 1 square metre and more. Without stations all is open that lies under a ceiling. A stairwell, open above over less than 8 square metres, is a
/// room of its own; what is so open below is none. Space that runs on outside ends where nothing hangs
/// over it, and is a room where a third of its rim at most is so open. A larger gap in a slab, as under a gallery, parts
/// no rooms.
///
/// Order  by the first cell of each, from the least y, then x.
///
/// Errors Cancelled.
Expected<RoomCells> FindRoomCells(const std::vector<WallPiece>& walls,
                                  const std::vector<OpenBound>& bounds,
                                  const ScanEvidence& evidence, const StoreyBand& band,
                                  const parallel::Pool& pool);

}  // namespace orvix::building
