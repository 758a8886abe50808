// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "building/plane_evidence.h"
#include "building/rooms/room_plan.h"

namespace orvix::building {

/// What a room is closed with.
struct RoomBounds {
    const RoomCells& cells;
    std::int32_t number = 0;  ///< of the room's cells
    const StoreyBand& band;
    const std::vector<LevelPlane>& floors;
    double above = 0;  ///< height of the ceiling over a stairwell: that of the next storey
};

/// Closes a room between its floor and what hangs over it.
///
/// A room of which slopes cover 15 % and more is cut where they cross; over others its ceiling is level,
/// at the height of the one that covers most of it. Heights that nobody saw are the storey's, and the
/// evidence says so.
///   `seen` is the share of floor and ceiling that was seen; stations are those that stood in the room,
/// and those that saw its planes. Names and storey are left to the caller.
Room CloseRoom(const RoomPlan& plan, const RoomBounds& bounds, const std::vector<WallPiece>& walls,
               std::size_t firstWall, const PlaneEvidence& planes);

}  // namespace orvix::building
