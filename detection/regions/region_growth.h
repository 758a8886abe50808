// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "detection/cells/cell_shapes.h"

namespace orvix::detection {

/// The limits within which cells lie on one plane and make a region.
struct GrowthLimits {
    double distance = 0;   ///< metres: of a point from the plane
    double minCosine = 0;  ///< of the angle between a cell's normal and the plane's
    double noise = 0;      ///< metres: standard deviation of points on a plane
    double minArea = 0;    ///< square metres that a region covers at least, by its cells
    double minPoints = 0;  ///< points that a region has at least
};

/// The largest rms, as a share of the distance, of the points of a cell or of joined regions.
inline constexpr double kMaxSpread = 0.55;

/// A plane through a point.
struct PlaneAt {
    Vector normal{0, 0, 1};  ///< of unit length
    Vector centre;           ///< mean of its points, project frame

    [[nodiscard]] double Distance(const Vector& p) const { return Dot(normal, p - centre); }
};

/// Cells that lie on one plane.
struct Region {
    PlaneAt plane;
    MomentSum sum;  ///< of its cells' points, about `origin`
    Vector origin;
    double rms = 0;
    std::uint64_t cells = 0;  ///< how many
};

/// The region of a cell that belongs to none.
inline constexpr std::int32_t kNoRegion = -1;

/// The regions of a tile and, for each cell, the one that it belongs to.
struct Regions {
    std::vector<Region> regions;
    std::vector<std::int32_t> ofCell;
};

/// Fits the region's plane to the sum of its points.
void Refit(Region& region);

/// Whether a region is large enough to be kept.
bool IsLargeEnough(const Region& region, const GrowthLimits& limits, double cellSize);

/// Grows regions over the neighbouring cells of a linked tile, from the flattest ones on.
///
/// A cell joins when the mean of its points is within the distance, they spread about the plane by
/// no more than half of it, and its normal, where it has one, is within the angle. A cell without a
/// normal joins but leads no further. The plane is fitted again whenever the region has grown by
/// half. In the end, cells that the last plane no longer fits leave, and cells along the rim that
/// it does fit join. Regions that are too small are dropped, unless they touch the tile's rim,
/// beyond which they may go on.
///
///     const Regions grown = GrowRegions(tile, ShapesOf(tile), limits);
///     const std::int32_t region = grown.ofCell[cell];       // or kNoRegion
///
/// Order   a function of the cells alone: seeds by flatness in steps of a twentieth, equal ones by
///         number; cells join breadth first, neighbours in the order of TileCells::Around.
/// Cost    about 200 ns per cell.
Regions GrowRegions(const TileCells& tile, const std::vector<CellShape>& shapes,
                    const GrowthLimits& limits);

}  // namespace orvix::detection
