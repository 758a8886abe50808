// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "output/plans/plan_drawing.h"

namespace orvix::output {

/// The floors of a storey's rooms, bounds that are no wall, and in each room its name, area and height.
///
/// A room's texts stand where they are farthest from its bounds and from `covered`, what leaves and
/// other things cover. Texts that are too large for their room are drawn smaller, down to half, then
/// the height and the name are left out; what has no place at all stands there at its smallest.
void DrawRooms(const building::Building& building, std::size_t storey, bool names,
               const std::vector<PlanBounds>& covered, PlanDrawing& drawing);

/// The place inside a region farthest from its edges and from `covered`, where a metre up or down
/// counts as `stretch` metres: texts are wider than high.
///
/// Precondition  the region has an area.
PlanPoint WidestPlace(const PlanRegion& region, const std::vector<PlanBounds>& covered,
                      double stretch);

}  // namespace orvix::output
