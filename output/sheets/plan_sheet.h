// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "output/plans/plan_drawing.h"

namespace orvix::output {

/// Drawings beside each other, the first at its own place, the others moved to the right by whole metres.
struct PlanSheet {
    std::vector<PlanDrawing> plans;
    std::vector<double> shifts;  ///< metres along the drawings' x, one a plan
    PlanBounds bounds;           ///< of all, where they stand
};

/// Precondition  there is a plan; all have the first one's turn and scale.
PlanSheet SheetOf(std::vector<PlanDrawing> plans);

}  // namespace orvix::output
