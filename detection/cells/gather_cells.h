// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "detection/cells/point_chunks.h"
#include "detection/cells/tile_cells.h"

namespace orvix::detection {

/// Readers of a project's points, one a thread, made when first asked for.
class Readers {
public:
    Readers(CProjectCore& core, unsigned threads) : core_(core), readers_(threads) {}
    CAlivePointReader& operator[](unsigned worker) {
        if (!readers_[worker]) readers_[worker] = core_.CreateAlivePointReader();
        return *readers_[worker];
    }

private:
    CProjectCore& core_;
    std::vector<std::shared_ptr<CAlivePointReader>> readers_;
};

/// Reads a chunk's points once and sums up those of each cell.
///
/// Order   cells as the points first meet them; a cell's points are summed as they are stored.
/// Errors  Damaged for points that lie outside the tile, or have no finite place.
/// Cost    some 15 ns a point.
Expected<CellSums> GatherCells(CAlivePointReader& reader, const PointChunk& chunk,
                               const CellFrame& frame, const CellPlace& origin);

}  // namespace orvix::detection
