// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "output/plans/plan_drawing.h"
#include "output/plans/storey_walls.h"

namespace orvix::output {

/// Dimension lines along the four sides of a storey, outside of all that is drawn so far. From the
/// plan outwards:
///
/// - the openings of walls along the side that nothing stands before, and the wall between them;
/// - walls and rooms as a line meets them that runs along the side through as many rooms as it can;
/// - the whole.
///
/// A row that repeats another is left out. Numbers are metres, rounded to a centimetre; where two would
/// touch, one goes below its line, and where it has no place there, it is left out.
void DrawDimensions(const building::Building& building, std::size_t storey,
                    const StoreyWalls& walls, PlanDrawing& drawing);

}  // namespace orvix::output
