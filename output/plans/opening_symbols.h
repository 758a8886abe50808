// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "output/plans/plan_drawing.h"
#include "output/plans/storey_walls.h"

namespace orvix::output {

/// The symbols of the doors, windows and holes in these walls.
///
/// A door's leaf hangs on the jamb that is nearer to a corner and swings into the room with fewer doors
/// (of two with as many, into the smaller; from outside inwards): a model says where a door is, not how it
/// hangs. A leaf that was seen open is drawn open, a closed one in the wall with the way it may swing
/// dashed; of a door whose leaf was not seen the way is dashed alone, and one without a leaf has none.
/// Doors wider than 1.4 m have two leaves. Windows have panes; holes, and what the cut does not meet,
/// are dashed.
///
/// Source  returns what leaves cover, which texts should leave free.
std::vector<PlanBounds> DrawOpenings(const building::Building& building, const StoreyWalls& walls,
                                     PlanDrawing& drawing);

}  // namespace orvix::output
