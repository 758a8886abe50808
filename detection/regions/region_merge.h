// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "detection/regions/cell_map.h"
#include "detection/regions/region_growth.h"
#include "parallel/pool.h"

namespace orvix::detection {

/// Joins regions that are pieces of one plane: a floor that passes from tile to tile, a wall on
/// both sides of a door. Then drops the regions that are still too small.
///
/// Two regions become one when cells of theirs lie within `bridge` metres of each other (rounded up
/// to whole cells, at most 20) and one plane serves both. It does when the points of both together
/// have an rms of at most kMaxSpread of the distance from the plane through all of them, and the
/// points of either alone one of at most 0.75 of the distance, or 0.35 where the two do not touch.
/// That is more than the noise, because a scan drifts and floors sag; across a gap less is allowed.
///
/// Order   pairs by how little their rms grows, equal ones by number, until none is left. A region
///         is numbered by its first piece, without gaps; the map gets the same numbers.
/// Errors  Cancelled.
/// Cost    some 50 ns per cell where the bridge is a few cells, on as many threads as there are
///         tiles, and n log n in the pairs in each of some tens of turns.
Expected<void> MergeRegions(const GrowthLimits& growth, double bridge, const parallel::Pool& pool,
                            CellMap& map, std::vector<Region>& regions);

}  // namespace orvix::detection
