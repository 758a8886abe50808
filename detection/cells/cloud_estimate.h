// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>

#include "detection/cells/point_chunks.h"
#include "orvix/project/project_core.h"
#include "parallel/pool.h"

namespace orvix::detection {

/// Noise and point spacing of a cloud, estimated from up to 256 samples spread evenly over the
/// point file.
struct CloudEstimate {
    double noise = 0;    ///< metres: the median of the flat cells' rms
    double spacing = 0;  ///< metres between points in the median flat cell
    double extent = 0;   ///< metres across the ground that holds 96 % of the points along each axis
};

/// Estimates noise and spacing by the cells of the chunks.
///
/// Boundaries where no cell is flat, the noise is 0 and the spacing the cell's size.
/// Order      a function of the chunks alone.
/// Errors     those of GatherCells; Damaged for a cell that is stored twice; Cancelled.
/// Cost       reads 4,096 points in each of 16 to 256 samples, or as many of fewer: of a small cloud all.
Expected<CloudEstimate> EstimateCloud(CProjectCore& core, const PointChunks& cut,
                                      const parallel::Pool& pool);

/// A cloud cut into chunks with cells of its own size, and what EstimateCloud says of them.
struct EstimatedCloud {
    std::size_t step = 0;  ///< of the cells: a place in CellFrame::kSizes
    PointChunks cut;
    CloudEstimate estimate;
};

/// With the smallest cells of which the typical one holds enough points to separate a plane from a
/// heap.
///
/// Cells are large enough when those of two points and more hold three quarters of the points; so
/// neither the dense patch under a scanner nor the strays of a dense scan decide for the rest.
/// Where the next size finds a normal for 15 % more points, it is that one, and so on: a scanner
/// of few lines leaves small cells that hold one line each.
///
/// Errors  as of EstimateCloud, and those of CutIntoChunks.
/// Cost    CutIntoChunksOfAllSizes, and the samples for each size that is tried: without shapes where
///         their cells hold too few points.
Expected<EstimatedCloud> EstimateTypicalCells(CProjectCore& core, const parallel::Pool& pool);

}  // namespace orvix::detection
