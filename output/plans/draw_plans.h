// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "output/plans/plan_drawing.h"

namespace orvix::output {

struct PlanOptions {
    double cut = 1.2;   ///< metres above each storey's floor
    double north = 0;   ///< degrees from the project's y to north, clockwise
    bool names = true;  ///< of rooms
    double scale = 0;   ///< one to this; 0: the largest of 50, 100, 200, 500, 1000 with which each
                        ///< storey is at most 400 mm wide and high, and 100 where that is larger
};

/// The plans of a building, from the lowest storey up: walls, doors, windows, rooms, dimensions, title,
/// scale bar and north. The topmost one has the roof as well, dashed.
///
/// Shape  turned as a whole, by less than 45 degrees, so that the greater part of the walls run along
///        the sheet's sides; `turn` leads back. All storeys lie over each other.
///        There is one drawing at least: of a building without storeys it says so.
std::vector<PlanDrawing> DrawPlans(const building::Building& building, const PlanOptions& options);

}  // namespace orvix::output
