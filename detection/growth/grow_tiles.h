// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "detection/cells/point_chunks.h"
#include "detection/growth/cell_map.h"
#include "detection/growth/region_growth.h"
#include "orvix/project/project_core.h"
#include "parallel/pool.h"

namespace orvix::detection {

/// Tiles that follow each other in PointChunks::tiles.
struct TileRange {
    std::size_t first = 0;
    std::size_t last = 0;  ///< past the last one
};

/// A project's cells and the regions that grew in its tiles.
struct GrownTiles {
    CellMap map;
    std::vector<Region> regions;             ///< tile by tile
    std::vector<std::uint32_t> regionsIn;    ///< how many of them each tile has
    std::uint64_t leftOut = 0;               ///< regions that were found and are too small
    std::vector<std::uint32_t> firstNumber;  ///< of each chunk: its tile's cells in earlier chunks
};

/// The cells of one tile, and their shapes.
struct ShapedTile {
    TileCells cells;
    std::vector<CellShape> shapes;
};

/// Reads one tile as GrowTiles does, on the calling thread.
Expected<ShapedTile> ReadTile(CAlivePointReader& reader, const PointChunks& cut, std::size_t tile,
                              double noise);

/// Reads every point once and grows regions within each tile: over its cells, then, where the limits
/// say so, over the points that these leave loose, which are read again.
///
/// As many tiles are worked on at a time as half of `memoryLimit` holds, but at least one.
///
/// Order   a function of the points alone: no tile sees another.
/// Errors  those of GatherCells; Damaged for a cell that is stored twice; BadInput where what is
///         kept of the cells takes more than the other half; Cancelled.
/// Cost    some 15 ns per point and 400 ns per cell, on as many threads as there are chunks, in the
///         end tiles; memory 18 bytes per cell, and 400 per cell of the tiles at work.
Expected<GrownTiles> GrowTiles(CProjectCore& core, const PointChunks& cut,
                               const GrowthLimits& limits, const parallel::Pool& pool,
                               std::uint64_t memoryLimit);
/// The same for some of the tiles; the others are empty. Regions are not numbered yet (CellMap::Number).
Expected<GrownTiles> GrowSomeTiles(CProjectCore& core, const PointChunks& cut,
                                   const GrowthLimits& limits, const parallel::Pool& pool,
                                   std::uint64_t memoryLimit, TileRange tiles);
/// Whether what is kept of the cells of all tiles fits into its half of the memory; BadInput where not.
Expected<void> RequireThatCellsFit(const GrownTiles& grown, std::uint64_t memoryLimit);

}  // namespace orvix::detection
