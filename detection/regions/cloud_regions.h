// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "detection/cells/point_chunks.h"
#include "detection/growth/grow_tiles.h"
#include "detection/regions/plane_choices.h"

namespace orvix::detection {

/// The regions of a whole cloud, and all that leads from a point to the regions around it.
struct CloudRegions {
    PointChunks cut;
    GrownTiles grown;
    PlaneChoices choices;
};

/// Grows regions in every tile of a cut cloud, joins those that are pieces of one plane across gaps
/// of `bridge` metres, and lists for each cell the regions around it.
///
/// Order   a function of the points and the limits.
/// Errors  those of GrowTiles; Cancelled.
Expected<CloudRegions> FindRegions(CProjectCore& core, PointChunks cut, const GrowthLimits& limits,
                                   double bridge, const parallel::Pool& pool,
                                   std::uint64_t memoryLimit);

}  // namespace orvix::detection
