// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "output/plans/plan_drawing.h"

namespace orvix::output {

/// The outlines of a building's slopes, dashed, and its ridges, hips and valleys. A side of an outline
/// that runs along such an edge is drawn once, as the edge. Each slope has an arrow downhill with its
/// angle, where there is a place.
void DrawRoof(const building::Building& building, PlanDrawing& drawing);

/// What ridges, hips and valleys cover, in short pieces: texts should leave it free.
std::vector<PlanBounds> BoundsOfRoofEdges(const building::Building& building);

}  // namespace orvix::output
