// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "detection/growth/cell_map.h"
#include "detection/growth/region_growth.h"
#include "parallel/pool.h"

namespace orvix::detection {

/// What became of the regions that were handed over.
struct MergedRegions {
    std::vector<std::int32_t> numbers;  ///< of each of them now; kNoRegion where it was dropped
    std::uint64_t leftOut = 0;          ///< how many were too small and were dropped
};

/// Joins regions that are pieces of one plane: a floor that passes from tile to tile, a wall on
/// both sides of a door. Then drops the regions that are still too small.
///
/// Two regions become one when points of theirs lie within `bridge` metres of each other (at most 20
/// cells), no wall stands between, and one plane serves both. It does when neither one's mean square
/// distance from the plane of both exceeds that from its own by more than a share of its distance:
/// 0.7 where they touch, of what they wave too, because a scan drifts and floors sag; 0.35 where they
/// do not. Of a step between a large piece and a small one, the common plane is nearer to the large
/// one, so less is allowed the more equal the two are.
/// Nor does it where their own planes lie farther apart than its distance and waves, at the place where
/// the pieces come nearest: a step, over which the plane of both leans; nor where one rises above the
/// other's plane by more than 1.7 times these, across the narrower piece: an edge.
///   Halves of a surface that lies on a face between tiles touch, and may lie 3 times their rms apart;
/// so may a surface and the tail of its noise that a face between cells cuts off.
///
/// Order   pairs by how little their rms grows, equal ones by number, until none is left. A region
///         is numbered by its first piece, without gaps; the map gets the same numbers.
/// Errors  Cancelled.
/// Cost    some 50 ns per cell where the bridge is a few cells, on as many threads as there are
///         tiles, and n log n in the pairs in each of some tens of turns.
Expected<MergedRegions> MergeRegions(const GrowthLimits& growth, double bridge,
                                     const parallel::Pool& pool, CellMap& map,
                                     std::vector<Region>& regions);

}  // namespace orvix::detection
