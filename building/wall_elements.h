// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "building/openings/wall_view.h"
#include "building/plane_evidence.h"
#include "building/rooms/room_cells.h"

namespace orvix::building {

/// Which rooms' cells lie beside a wall: on its left and right as building.h has them, at any place
/// along it.
struct WallSides {
    bool left = false;
    bool right = false;
};
WallSides SidesOf(const WallPiece& piece, const RoomCells& cells);

/// The element of a piece: axis, faces, height and profile. An outer wall stands from floor to floor,
/// and that of the highest storey as high as its faces were seen; others up to the ceilings beside them.
/// Under slopes the profile follows them. `storey` and openings are left to the caller.
Wall WallOf(const WallPiece& piece, const StoreyBand& band, const WallSides& sides, bool highest,
            const PlaneEvidence& planes);

/// Ends an outer wall of the highest storey under the roof that was seen from outside alone: where the
/// wall's faces reach up to a slope its profile follows the slope's lower face, elsewhere it ends there
/// at the latest. A wall under slopes that were seen from within stays.
void EndUnderRoof(const WallPiece& piece, const std::vector<RoofSlope>& slopes,
                  const ScanEvidence& scan, Wall& wall);

/// The share of a wall's squares that are solid and hidden, beside its openings.
void AddSeen(const WallView& view, const std::vector<Opening>& openings, Evidence& evidence);

}  // namespace orvix::building
