// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/region_planes.h"

#include <algorithm>
#include <cmath>

#include "detection/outlines/raster_outline.h"
#include "detection/plane_classifier.h"
#include "orvix/geometry/quantile.h"
#include "orvix/geometry/symmetric_matrix.h"

namespace orvix::detection {
namespace {

constexpr double kMaxPixelsPerCell = 50;  // along an axis, of a small region

Vector UnitNormalOf(const MomentSum& sum) {
    return detail::DecomposeSymmetric(sum.Covariance()).vectors[2];
}

// The plane through a region's points, and their outline.
void FitPlane(RegionPoints& points, double minArea, FoundPlane& plane) {
    plane.normal = UnitNormalOf(points.sum);  // BEHAVIOUR A6
    plane.centre = points.centre + points.sum.Mean();
    plane.offset = -Dot(plane.normal, plane.centre);
    plane.rms = std::sqrt(std::max(QuadraticForm(points.sum.Covariance(), plane.normal), 0.0));
    PlaneRaster& raster = points.raster;
    raster.CloseGaps();
    OutlineLimits limits;
    limits.minHoleArea = std::max(minArea / 4, 9 * raster.Pixel() * raster.Pixel());
    limits.minIslandArea = minArea / 10;
    plane.outline = OutlineOf(raster, limits);
    plane.area = plane.outline.area;
    raster = {};
}

}  // namespace

RegionTargets::RegionTargets(const std::vector<Region>& regions, const GrowthLimits& limits) {
    for (const Region& region : regions) {
        const Vector& n = region.plane.normal;
        const double height = Dot(n, region.plane.centre);
        heights.push_back({n, height, ReachOf(region, limits)});
        frames.emplace_back(n.x, n.y, n.z, -height);
    }
}

// Pixels twice as wide as the points of the region's sparser cells are apart.
RasterPlan RasterPlanOf(RegionExtent& extent, const Region& region, double cellSize) {
    const std::uint32_t sparse = detail::Quantile(extent.counts, 0.3);
    const Extends2DT<double> bounds{
        {extent.bounds.min.x - 3 * cellSize, extent.bounds.min.y - 3 * cellSize},
        {extent.bounds.max.x + 3 * cellSize, extent.bounds.max.y + 3 * cellSize}};
    double pixel = std::min(2 * cellSize / std::sqrt(std::max<double>(sparse, 1)), cellSize);
    // Of a small region, cells hold other surfaces' points, too, and are filled in part.
    if (region.small)
        pixel = std::clamp(2 * std::sqrt(region.extent / region.sum.count),
                           cellSize / kMaxPixelsPerCell, cellSize);
    while (PlaneRaster::PixelsOf(bounds, pixel) > kMaxPixels) pixel *= 2;
    return {bounds, pixel};
}

Expected<RegionPlanes> FitRegionPlanes(const GrownTiles& grown, const PlaneSearchSettings& settings,
                                       const GrowthLimits& limits,
                                       const std::vector<SimplePointT<double>>& stations,
                                       const parallel::Pool& pool, const PointsAdder& add) {
    const std::vector<Region>& regions = grown.regions;
    RegionTargets targets(regions, limits);
    const std::vector<PlaneFrame>& frames = targets.frames;
    auto extents = ExtentsOf(grown.map, regions, frames, pool);
    if (!extents) return ErrorOf(extents);
    std::vector<RegionPoints> points;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        const RasterPlan plan = RasterPlanOf((*extents)[i], regions[i], settings.cellSize);
        points.push_back({regions[i].plane.centre, frames[i], PlaneRaster(plan.bounds, plan.pixel),
                          MomentSum{}});
    }
    RegionPlanes fitted;
    fitted.heights = std::move(targets.heights);
    if (auto done = add(fitted.heights, points); !done) return ErrorOf(done);
    fitted.planes.resize(frames.size());
    const PlaneClassifier classifier(grown.map, stations, settings.spacing);
    auto done = pool.RunJobs(frames.size(), [&](std::size_t i, unsigned) -> Expected<void> {
        FoundPlane& plane = fitted.planes[i];
        plane.frame = frames[i];
        plane.tolerance = fitted.heights[i].reach;
        plane.points = static_cast<std::uint64_t>(points[i].sum.count);
        if (plane.points < 3) return {};
        FitPlane(points[i], settings.minArea, plane);
        classifier.Classify((*extents)[i].cells, plane);
        return {};
    });
    if (!done) return ErrorOf(done);
    return fitted;
}

}  // namespace orvix::detection
