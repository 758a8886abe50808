// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "detection/cells/cell_shapes.h"

namespace orvix::detection {

/// The limits within which cells lie on one plane and make a region.
struct GrowthLimits {
    double distance = 0;   ///< metres: of a point from the plane; unless `fixed`, the least
    bool fixed = false;    ///< whether a region's own scatter changes nothing about the distance
    double waviness = 0;   ///< of the width of a region: how far its cells may lie from its plane
    double maxWave = 0;    ///< metres: the largest such distance
    bool small = true;     ///< whether what no cell explains grows from points
    bool faces = true;     ///< whether planes are cut where a strip across them is empty
    double minCosine = 0;  ///< of the angle between a cell's normal and the plane's
    double noise = 0;      ///< metres: standard deviation of points on a plane
    double minArea = 0;    ///< square metres that a region covers at least, by its cells
    double minPoints = 0;  ///< points that a region has at least
};

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
    double scatter = 0;       ///< sum of the squared distances of points from their cells' planes
    double scattered = 0;     ///< how many points these are
    double extent = 0;        ///< square metres of a rectangle that spreads as its points do
    bool small = false;       ///< whether it grew from points, and cells say nothing about its size
    std::uint64_t cells = 0;  ///< how many
};

/// The region of a cell that belongs to none.
inline constexpr std::int32_t kNoRegion = -1;

/// The regions of a tile and, for each cell, the one that it belongs to.
struct Regions {
    std::vector<Region> regions;
    std::vector<std::int32_t> ofCell;
    std::uint64_t leftOut = 0;  ///< regions that were too small and whose points grow no others
};

/// Fits the region's plane to the sum of its points.
void Refit(Region& region);

/// How far a region's points may lie from it: by their scatter about their cells' own planes.
double TightDistance(const Region& region, const GrowthLimits& limits);

/// How far a surface of so many square metres may stray from its plane.
double MaxWave(double extent, const GrowthLimits& limits);
/// How far a region's cells stray from its plane: their rms without their points' scatter.
double WaveOf(const Region& region);
/// How far a point may lie from a region's plane and belong to it: a surface that takes in more than
/// scatter, such as a floor that sags, reaches further.
double ReachOf(const Region& region, const GrowthLimits& limits);

/// Whether a region is large enough to be kept.
bool IsLargeEnough(const Region& region, const GrowthLimits& limits, double cellSize);

/// Grows regions over the neighbouring cells of a linked tile, from the flattest ones on.
///
/// A cell joins when no gap parts its points from those of the cell that leads to it, their mean lies
/// within half of the region's distance (or all of it, where that is fixed), they spread about the
/// plane by little more than half of it, and its normal, where it has one, is within the angle. What
/// lies farther away, by no more than the region waves, joins where it continues the surface of the
/// cell that leads to it: a wave does, a step does not. A cell without a normal, or in which two
/// surfaces meet, joins but leads no further. The distance follows the scatter that the region's cells
/// show, and the plane is fitted again whenever the region has grown by half. In the end, cells that
/// the last plane no longer fits leave, and cells along the rim that it does fit join. Regions that
/// are too small are dropped, unless they touch the tile's rim, beyond which they may go on.
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
