// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "building/plane_evidence.h"
#include "building/storeys/level_planes.h"

namespace orvix::building {

struct Roofs {
    std::vector<RoofSlope> slopes;
    std::vector<RoofEdge> edges;
};

/// Slopes of 2 square metres and more whose middle lies above a height; their eaves may be lower.
///
/// What is narrower than 0.4 m in plan is an edge, no slope.
///
/// Planes that lie within 2 degrees and 3 cm of each other are one slope; one that faces down, 5 to 80 cm
/// under one that faces up, is its lower face. A slope is a rectangle along its level lines around what
/// was seen of it, cut where the plane of another slope crosses it and nearly all that was seen lies on
/// one side. Such crossings are ridges (level), hips, and valleys.
Roofs FindRoofs(const LevelPlanes& levels, double above, const PlaneEvidence& planes);

}  // namespace orvix::building
