// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "detection/cell_grid.h"
#include "detection/point_chunks.h"
#include "detection/work_team.h"

namespace orvix::detection {

/// A project's points, told cell by cell.
struct CellCloud {
    CellGrid grid;  ///< in the order in which the point file meets the cells
    std::vector<PointChunk> chunks;
    std::vector<std::uint32_t> firstCell;  ///< of each chunk; a chunk's cells follow each other
    std::uint64_t points = 0;
};

/// The least cell size whose typical cell holds enough points to tell a plane from a heap: a place
/// in CellFrame::kSizes. Typical is the median over the occupied cells of some places, spread over
/// the file, so that the dense patch under a scanner does not decide for the rest.
Expected<std::size_t> TypicalCellStep(CProjectCore& core, const WorkTeam& team);

/// Reads every point once and keeps the moments of each cell.
///
/// Order   the same cells and the same bits at any number of threads: a cell's points lie in one
///         chunk and are summed in the order in which they are stored.
/// Errors  Damaged for points that are not stored cell by cell, or without a finite place;
///         BadInput where the cells take more than `memoryLimit` bytes.
Expected<CellCloud> GatherCells(CProjectCore& core, const CellFrame& frame, const WorkTeam& team,
                                std::uint64_t memoryLimit);

}  // namespace orvix::detection
