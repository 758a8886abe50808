// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "detection/cells/cell_shapes.h"
#include "detection/growth/region.h"

namespace orvix::detection {

/// The region of a cell that belongs to none.
inline constexpr std::int32_t kNoRegion = -1;

/// The regions of a tile and, for each cell, the one that it belongs to.
struct Regions {
    std::vector<Region> regions;
    std::vector<std::int32_t> ofCell;
    std::uint64_t leftOut = 0;  ///< regions that were too small and whose points grow no others
};

/// Grows regions over the neighbouring cells of a linked tile, from the flattest ones on.
///
/// A cell joins when no gap parts its points from those of the cell that leads to it, their mean lies
/// within half of the region's distance (or all of it, where that is fixed), they spread about the
/// plane by little more than half of it, and its normal, where it has one, is within the angle. What
/// lies farther away, by no more than the region waves, joins where it continues the surface of the
/// cell that leads to it: a wave does, a step does not. A cell without a normal, or in which two
/// surfaces meet, joins but leads no further. The distance follows the scatter that the region's cells
/// show, and the plane is fitted again whenever the region has grown by half. In the end, cells that
/// the last plane no longer fits leave, and cells along the rim that it does fit join. A region that
/// bends more than its size and scatter explain grows once more, within 0.6 of the distance: it took in
/// two faces that meet at an obtuse angle. Regions that are too small are dropped, unless they touch the
/// tile's rim, beyond which they may go on. In the end rough ones grow from what is left: their distance
/// follows scatter up to 12 times the noise, instead of twice, if most of their cells are as rough.
///
///     const Regions grown = GrowRegions(tile, ShapesOf(tile), limits);
///     const std::int32_t region = grown.ofCell[cell];       // or kNoRegion
///
/// Order   a function of the cells alone: seeds by flatness in steps of a twentieth, equal ones by
///         number; cells join breadth first, neighbours in the order of TileCells::Around.
/// Cost    about 200 ns per cell.
Regions GrowRegions(const TileCells& tile, const std::vector<CellShape>& shapes,
                    const GrowthLimits& limits, const std::function<bool()>& proceed = {});

}  // namespace orvix::detection
