// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <vector>

#include "detection/assigned_points.h"
#include "detection/faces/face_tree.h"
#include "detection/plane_search.h"
#include "detection/regions/point_assignment.h"
#include "detection/regions/region_extents.h"

namespace orvix::detection {

/// The plane of each region as its points give it, and the plane that the points were compared
/// with, which its cells gave; then those of the faces that are not the first ones of their regions. A
/// region without three points has a plane without an outline.
struct RegionPlanes {
    std::vector<PlaneHeight> heights;
    std::vector<FoundPlane> planes;
    RegionFaces faces;
};

/// The planes that points are compared with, and the frames in which they are marked, of each region.
struct RegionTargets {
    std::vector<PlaneHeight> heights;
    std::vector<PlaneFrame> frames;

    RegionTargets(const std::vector<Region>& regions, const GrowthLimits& limits);
};

/// Of the raster of one plane: 32 MiB.
inline constexpr double kMaxPixels = 1U << 28;

/// What a region's raster covers, and how finely.
struct RasterPlan {
    Extends2DT<double> bounds;
    double pixel = 0;
    std::uint32_t parts = 1;  ///< along a pixel's side; more than one where faces are looked for

    [[nodiscard]] PlaneRaster Raster() const { return {bounds, pixel, parts}; }
    [[nodiscard]] double Pixels() const {
        return PlaneRaster::PixelsOf(bounds, pixel) * parts * parts;
    }
};

/// The plan of each region. Orders the counts of `extents`.
std::vector<RasterPlan> RasterPlansOf(std::vector<RegionExtent>& extents,
                                      const std::vector<Region>& regions, double cellSize,
                                      const GrowthLimits& limits);

/// Sums the points of all regions, which come without any.
using PointsAdder = std::function<Expected<void>(const std::vector<PlaneHeight>& heights,
                                                 std::vector<RegionPoints>& points)>;
/// As AddFacePoints.
using FacesAdder =
    std::function<Expected<void>(const RegionFaces& faces, const std::vector<PlaneHeight>& heights,
                                 std::vector<RegionPoints>& points)>;

/// Gives each point to a region, cuts regions into faces, fits a plane to the points of each, draws its
/// outline and decides its kind.
///
/// Order   a function of the points, the settings and the stations.
/// Errors  those of `add` and `addFaces`.
/// Cost    one pass over the points, and the outlines, on all threads; a bit for each pixel of all
///         planes together.
Expected<RegionPlanes> FitRegionPlanes(const GrownTiles& grown, const PlaneSearchSettings& settings,
                                       const GrowthLimits& limits,
                                       const std::vector<SimplePointT<double>>& stations,
                                       const parallel::Pool& pool, const PointsAdder& add,
                                       const FacesAdder& addFaces);

}  // namespace orvix::detection
