// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "detection/regions/cell_map.h"
#include "detection/regions/region_growth.h"
#include "parallel/pool.h"

namespace orvix::detection {

/// Joins regions that are pieces of one plane: a floor that passes from tile to tile, a wall on
/// both sides of a door. Of what remains, regions that are too small go.
///
/// Two regions are one when cells of theirs lie within `bridge` metres of each other, to the next
/// cell and over 20 cells at most, and when one plane serves both: their points' rms from the plane
/// through all of them is what a cell's may be (kMaxSpread of the distance), and either's alone is
/// three quarters of the distance at most, or about a third where the two do not touch. That is
/// more than the noise: a scan drifts, and floors sag; what stands apart must prove itself.
///
/// Order   pairs by how little they lose, equal ones by number, until none is left; the regions
///         that remain keep the number of their first piece, then close ranks. The map's are
///         renamed.
/// Errors  Cancelled.
/// Cost    some 50 ns a cell where the bridge is a few cells, on as many threads as there are
/// tiles,
///         and n log n of the pairs in each of some tens of turns.
Expected<void> MergeRegions(const GrowthLimits& growth, double bridge, const parallel::Pool& pool,
                            CellMap& map, std::vector<Region>& regions);

}  // namespace orvix::detection
