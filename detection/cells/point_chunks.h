// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "detection/cells/cell_frame.h"
#include "orvix/platform/error.h"
#include "orvix/project/project_core.h"

namespace orvix::detection {

/// A stretch of a project's points that holds whole cells of one tile.
struct PointChunk {
    std::uint64_t first = 0;
    std::uint64_t count = 0;
    std::uint32_t tile = 0;  ///< a place in PointChunks::tiles
};

/// A tile that holds points, and its chunks, in the order of the file.
struct TileChunks {
    CellPlace place{};  ///< tiles along each axis from the origin
    std::uint64_t points = 0;
    std::vector<std::uint32_t> chunks;
};

/// A project's points, by chunk and by tile.
struct PointChunks {
    CellFrame frame;                 ///< of the cells that the chunks hold whole
    std::vector<PointChunk> chunks;  ///< in the order of the file
    std::vector<TileChunks> tiles;   ///< by place: x, then y, then z
    std::uint64_t points = 0;
};

/// Cuts a project's points into chunks of some tens of thousands, or fewer where a tile ends.
///
/// Boundaries a 100 cm cell is never cut (where cells are a metre or more: a 1000 cm cell), however
///            many points it holds.
/// Order      a function of the project and the cells' size alone.
/// Errors     Damaged where the 100 cm cells do not follow each other from the first point to the
///            last, or lie where no point can be.
/// Cost       one walk over the 100 cm index.
Expected<PointChunks> CutIntoChunks(CProjectCore& core, const CellFrame& frame);

/// The same with cells of each size of CellFrame::kSizes. Cost: one walk all the same.
Expected<std::vector<PointChunks>> CutIntoChunksOfAllSizes(CProjectCore& core);

/// The failure of a reader that got no view of the point file.
inline tl::unexpected<Error> PointsNotMapped() {
    return Fail(ErrorCode::Failure, "the points cannot be mapped; close other programs and retry");
}

}  // namespace orvix::detection
