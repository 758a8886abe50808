// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <utility>
#include <vector>

#include "output/plans/plan_drawing.h"
#include "output/plans/wall_bodies.h"

namespace orvix::output {

/// The walls of a storey at a height: what a plan cuts, and what it sees below and above.
///
/// Units  metres; `height` is one of the building's, not above a floor.
struct StoreyWalls {
    double height = 0;
    std::vector<WallBody> bodies;       ///< of walls that are cut or end below, joined
    std::vector<building::Wall> above;  ///< walls that begin above the cut
    std::vector<PlanRegion> solid;      ///< bodies of known thickness, openings not cut out
    std::vector<PlanRegion> cut;        ///< what the plane cuts of them, openings cut out
    std::vector<PlanRegion> below;      ///< what ends below
};

/// Metres along a wall between which its outline holds this height, ascending.
std::vector<std::pair<double, double>> PartsAt(const building::Wall& wall, double height);

/// Places of a storey's walls that a plane at this height cuts.
std::vector<std::size_t> WallsAt(const building::Building& building, std::size_t storey,
                                 double height);

/// What a plane at this height cuts of bodies of known thickness, openings cut out.
std::vector<PlanRegion> CutOf(const building::Building& building,
                              const std::vector<WallBody>& bodies, double height);

StoreyWalls WallsOf(const building::Building& building, std::size_t storey, double height);

/// Outlines and hatching of what is cut; faces and far sides of walls of one face; what lies below
/// and above.
void DrawWalls(const building::Building& building, const StoreyWalls& walls, PlanDrawing& drawing);

}  // namespace orvix::output
