// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "detection/assigned_points.h"
#include "detection/faces/face_tree.h"

namespace orvix::detection {

/// Reads the points of those regions that have several faces once more and adds each to the sum and the
/// raster of its face: `points` of each region, then of each other face, `planes` as many.
///
/// Order   as of AssignPoints.
/// Errors  as of AssignPoints.
/// Cost    as of AssignPoints, for the chunks of tiles that such a region passes.
Expected<void> AddFacePoints(CProjectCore& core, const CloudRegions& regions,
                             const RegionFaces& faces, const std::vector<PlaneHeight>& planes,
                             const parallel::Pool& pool, std::vector<RegionPoints>& points);

}  // namespace orvix::detection
