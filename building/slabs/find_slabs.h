// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "building/plane_evidence.h"
#include "building/rooms/room_plan.h"

namespace orvix::building {

/// The plan of a storey: its walls and rooms, without stairwells.
struct StoreyPlan {
    RoomCells cells;
    std::vector<BoundLine> lines;
};

/// What lies between storeys: of each storey a floor slab, from the ceiling below it where there is
/// one, and over the highest one its roof slab where its ceilings are level.
///
/// Shape  the outline of the walls around a storey's rooms, or of its rooms where a wall's other side
///        was not seen; stairwells are holes.
std::vector<Slab> FindSlabs(const std::vector<Storey>& storeys,
                            const std::vector<StoreyPlan>& plans, const LevelPlanes& levels,
                            const PlaneEvidence& planes);

}  // namespace orvix::building
