// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "detection/cells/point_chunks.h"
#include "detection/cells/tile_cells.h"
#include "orvix/points/alive_point_reader.h"

namespace orvix::detection {

/// Reads a chunk's points once and sums up those of each cell.
///
/// Units   sums are about the middle of the tile whose first cell is `origin`.
/// Order   cells by their first points; a cell's points are summed as they are stored.
/// Errors  Damaged for points that lie outside the tile or have no finite place; Failure where the
///         points cannot be mapped.
/// Cost    some 15 ns per point.
Expected<CellSums> GatherCells(CAlivePointReader& reader, const PointChunk& chunk,
                               const CellFrame& frame, const CellPlace& origin);

}  // namespace orvix::detection
