// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <utility>
#include <vector>

#include "output/plans/plan_vector.h"

namespace orvix::output {

/// What any of the rings holds, in whole pieces.
///
/// Shape  places lie on a grid of 0.1 mm; outer rings run counter-clockwise, holes clockwise, and no
///        vertex lies between its neighbours.
/// Order  the same at any order of the rings.
/// Source Boost.Polygon, whose numbers are whole: rings that meet in a face or a corner leave no slivers.
std::vector<PlanRegion> UnionOf(const std::vector<PlanRing>& rings);

/// Square metres, holes left out.
double AreaOf(const std::vector<PlanRegion>& regions);

bool Contains(const std::vector<PlanRegion>& regions, const PlanPoint& at);

/// Places from `from` (0) to `to` (1) between which the way lies inside the regions; where the way runs
/// on an edge, either may come out.
std::vector<std::pair<double, double>> PartsInside(const std::vector<PlanRegion>& regions,
                                                   const PlanPoint& from, const PlanPoint& to);
/// And those between which it lies outside.
std::vector<std::pair<double, double>> PartsOutside(const std::vector<PlanRegion>& regions,
                                                    const PlanPoint& from, const PlanPoint& to);

/// What lies of a ring on the left of a line through `at` along `way`.
PlanRing LeftPart(const PlanRing& ring, const PlanPoint& at, const PlanPoint& way);

}  // namespace orvix::output
