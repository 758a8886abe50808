// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "detection/outlines/plane_raster.h"
#include "detection/regions/point_assignment.h"
#include "orvix/geometry/plane_frame.h"

namespace orvix::detection {

/// What the points of one region add up to, and the frame in which they are marked.
struct RegionPoints {
    Vector centre;     ///< what the sum is about
    PlaneFrame frame;  ///< of the raster
    PlaneRaster raster;
    MomentSum sum;
};

/// What the points of one chunk add to each region that has some of them.
using ChunkSums = std::vector<std::pair<std::int32_t, MomentSum>>;

/// Reads the points of some chunks and marks each in the raster of its region; returns the sums of each
/// chunk. Order, errors and cost as of AssignPoints.
Expected<std::vector<ChunkSums>> SumChunks(CProjectCore& core, const CloudRegions& regions,
                                           const std::vector<PlaneHeight>& planes,
                                           const parallel::Pool& pool,
                                           std::span<const std::uint32_t> chunks,
                                           std::vector<RegionPoints>& points);
/// Adds the sums of all chunks, which come in their order, to those of their regions.
void AddSums(const std::vector<ChunkSums>& chunks, std::vector<RegionPoints>& points);

/// Reads every point again and adds each to the sum and the raster of its region.
///
/// Order   a function of the points alone: each chunk is summed on its own, then chunk by chunk.
/// Errors  Failure where the points cannot be mapped; Cancelled.
/// Cost    some 15 ns per point, on all threads; 100 bytes for each pair of a chunk and a region that
///         has points in it.
Expected<void> AssignPoints(CProjectCore& core, const CloudRegions& regions,
                            const std::vector<PlaneHeight>& planes, const parallel::Pool& pool,
                            std::vector<RegionPoints>& points);

}  // namespace orvix::detection
