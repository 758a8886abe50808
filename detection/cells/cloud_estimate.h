// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "detection/cells/point_chunks.h"
#include "orvix/project/project_core.h"
#include "parallel/pool.h"

namespace orvix::detection {

/// What a look at some places of a cloud, evenly spread over its file, tells of the whole.
struct CloudEstimate {
    double noise = 0;    ///< metres: that of the plainer 45 % of flat cells, rms
    double spacing = 0;  ///< metres between points on flat cells, typically
};

/// The least cell size whose typical cell holds enough points to tell a plane from a heap: a place
/// in CellFrame::kSizes. Three quarters of the points of the places lie in cells that hold two and
/// more: neither the dense patch under a scanner nor the strays of a dense scan decide for the
/// rest. Where the next size finds a normal for many more points, it is that, and so on: a scanner
/// of few lines leaves cells that hold one line each.
Expected<std::size_t> TypicalCellStep(CProjectCore& core, const parallel::Pool& pool);

/// Noise and spacing by the cells of the chunks. Where no cell is flat the noise is 0 and the
/// spacing the cell's size.
///
/// Order  a function of the chunks alone.
/// Errors GatherCells', and a place that comes twice.
/// Cost   reads 4,096 points at 16 to 256 places.
Expected<CloudEstimate> EstimateCloud(CProjectCore& core, const PointChunks& cut,
                                      const parallel::Pool& pool);

}  // namespace orvix::detection
