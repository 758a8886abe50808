// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <vector>

#include "building/building.h"

namespace orvix::building {

/// Cuts convex rings along a line normal . p = offset. Pieces narrower than a micrometre are dropped.
void CutParts(std::vector<PlanRing>& parts, const PlanPoint& normal, double offset);

/// The part of a ring where normal . p <= offset; may be empty. Of a ring that is not convex the part
/// may run along the line and back, which adds nothing to its area.
PlanRing PartBehind(const PlanRing& ring, const PlanPoint& normal, double offset);

PlanPoint MiddleOf(const PlanRing& convex);

/// What convex rings, which share whole sides, cover together: the largest piece that hangs together,
/// without corners on a straight line. Drops from `parts` those that are not of this piece.
std::optional<PlanRegion> JoinParts(std::vector<PlanRing>& parts);

}  // namespace orvix::building
