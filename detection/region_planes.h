// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "detection/plane_search.h"
#include "detection/regions/point_assignment.h"

namespace orvix::detection {

/// The plane of each region as its points give it, and the plane that the points were compared
/// with, which its cells gave. A region without three points has a plane without an outline.
struct RegionPlanes {
    std::vector<PlaneHeight> heights;
    std::vector<FoundPlane> planes;
};

/// Gives each point to a region, fits a plane to the points of each, draws its outline and decides
/// its kind.
///
/// Order   a function of the points, the settings and the stations.
/// Errors  those of AssignPoints.
/// Cost    one pass over the points, and the outlines, on all threads; a bit for each pixel of all
///         planes together.
Expected<RegionPlanes> FitRegionPlanes(CProjectCore& core, const CloudRegions& regions,
                                       const PlaneSearchSettings& settings,
                                       const GrowthLimits& limits,
                                       const std::vector<SimplePointT<double>>& stations,
                                       const parallel::Pool& pool);

}  // namespace orvix::detection
