// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/region_planes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <utility>

#include "detection/outlines/raster_outline.h"
#include "detection/plane_classifier.h"
#include "orvix/geometry/quantile.h"
#include "orvix/geometry/symmetric_matrix.h"

namespace orvix::detection {
namespace {

constexpr double kMaxPixelsPerCell = 50;  // along an axis, of a small region
constexpr double kMaxExtentOfFaces = 6;   // square metres: of a region that may be cut into faces
constexpr double kMinPointsOfFaces = 100;
// Of the side of its pixels: points are as far apart as half of so many. The most that fit into 128 MiB.
constexpr std::array<std::uint32_t, 5> kParts{12, 8, 6, 4, 1};
constexpr double kMaxPixelsOfFaces = 1U << 30;

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

namespace {

// Pixels twice as wide as the points of the region's sparser cells are apart.
RasterPlan RasterPlanOf(RegionExtent& extent, const Region& region, double cellSize,
                        const GrowthLimits& limits) {
    const std::uint32_t sparse = detail::Quantile(extent.counts, 0.3);
    const Extends2DT<double> bounds{
        {extent.bounds.min.x - 3 * cellSize, extent.bounds.min.y - 3 * cellSize},
        {extent.bounds.max.x + 3 * cellSize, extent.bounds.max.y + 3 * cellSize}};
    RasterPlan plan{bounds,
                    std::min(2 * cellSize / std::sqrt(std::max<double>(sparse, 1)), cellSize)};
    // Of a small region, cells hold other surfaces' points, too, and are filled in part.
    if (region.small)
        plan.pixel = std::clamp(2 * std::sqrt(region.extent / region.sum.count),
                                cellSize / kMaxPixelsPerCell, cellSize);
    while (plan.Pixels() > kMaxPixels) plan.pixel *= 2;
    if (limits.faces && region.extent <= kMaxExtentOfFaces && region.sum.count >= kMinPointsOfFaces)
        plan.parts = kParts.front();
    return plan;
}

double PixelsOfFaces(const std::vector<RasterPlan>& plans) {
    double pixels = 0;
    for (const RasterPlan& plan : plans) pixels += plan.parts > 1 ? plan.Pixels() : 0;
    return pixels;
}

}  // namespace

std::vector<RasterPlan> RasterPlansOf(std::vector<RegionExtent>& extents,
                                      const std::vector<Region>& regions, double cellSize,
                                      const GrowthLimits& limits) {
    std::vector<RasterPlan> plans;
    for (std::size_t i = 0; i < regions.size(); ++i)
        plans.push_back(RasterPlanOf(extents[i], regions[i], cellSize, limits));
    // BEHAVIOUR A20
    for (const std::uint32_t parts : kParts) {
        for (RasterPlan& plan : plans) {
            plan.parts = std::min(plan.parts, parts);
            if (plan.Pixels() > kMaxPixels) plan.parts = 1;
        }
        if (PixelsOfFaces(plans) <= kMaxPixelsOfFaces) break;
    }
    return plans;
}

namespace {

// Cuts regions into faces by their rasters, which are put together to whole pixels.
Expected<RegionFaces> FacesOf(const std::vector<RasterPlan>& plans,
                              const std::vector<PlaneFrame>& frames, const parallel::Pool& pool,
                              std::vector<RegionPoints>& points) {
    std::vector<FaceTree> trees(points.size());
    auto done = pool.RunJobs(points.size(), [&](std::size_t i, unsigned) -> Expected<void> {
        if (plans[i].parts == 1) return {};
        trees[i] = CutIntoFaces(points[i].raster);
        points[i].raster = trees[i].Faces() > 1 ? PlaneRaster(plans[i].bounds, plans[i].pixel)
                                                : points[i].raster.Coarser();
        return {};
    });
    if (!done) return ErrorOf(done);
    RegionFaces faces(std::move(trees), frames);
    for (const std::int32_t region : faces.Others()) {
        const auto i = static_cast<std::size_t>(region);
        points[i].sum = {};
        points.push_back({points[i].centre, points[i].frame,
                          PlaneRaster(plans[i].bounds, plans[i].pixel), MomentSum{}});
    }
    return faces;
}

// Those of a region's cells that lie on one of its faces; all of them where none does.
std::vector<CellPlace> CellsOfFace(const std::vector<CellPlace>& cells, const RegionFaces& faces,
                                   std::int32_t region, std::int32_t face, double cellSize) {
    std::vector<CellPlace> its;
    for (const CellPlace& cell : cells) {
        const Vector middle{(cell[0] + 0.5) * cellSize, (cell[1] + 0.5) * cellSize,
                            (cell[2] + 0.5) * cellSize};
        if (faces.NumberOf(region, middle) == face) its.push_back(cell);
    }
    return its.empty() ? cells : its;
}

}  // namespace

Expected<RegionPlanes> FitRegionPlanes(const GrownTiles& grown, const PlaneSearchSettings& settings,
                                       const GrowthLimits& limits,
                                       const std::vector<SimplePointT<double>>& stations,
                                       const parallel::Pool& pool, const PointsAdder& add,
                                       const FacesAdder& addFaces) {
    const std::vector<Region>& regions = grown.regions;
    RegionTargets targets(regions, limits);
    const std::vector<PlaneFrame>& frames = targets.frames;
    auto extents = ExtentsOf(grown.map, regions, frames, pool);
    if (!extents) return ErrorOf(extents);
    const std::vector<RasterPlan> plans =
        RasterPlansOf(*extents, regions, settings.cellSize, limits);
    std::vector<RegionPoints> points;
    for (std::size_t i = 0; i < frames.size(); ++i) {
        points.push_back({regions[i].plane.centre, frames[i], plans[i].Raster(), MomentSum{}});
    }
    RegionPlanes fitted;
    fitted.heights = std::move(targets.heights);
    if (auto done = add(fitted.heights, points); !done) return ErrorOf(done);
    auto faces = FacesOf(plans, frames, pool, points);
    if (!faces) return ErrorOf(faces);
    fitted.faces = std::move(*faces);
    std::vector<std::int32_t> regionOf(frames.size());
    std::iota(regionOf.begin(), regionOf.end(), 0);
    for (const std::int32_t region : fitted.faces.Others()) {
        regionOf.push_back(region);
        fitted.heights.push_back(fitted.heights[static_cast<std::size_t>(region)]);
    }
    if (!fitted.faces.Empty())
        if (auto done = addFaces(fitted.faces, fitted.heights, points); !done) return ErrorOf(done);
    fitted.planes.resize(points.size());
    const PlaneClassifier classifier(grown.map, stations, settings.spacing);
    auto done = pool.RunJobs(points.size(), [&](std::size_t i, unsigned) -> Expected<void> {
        const auto region = static_cast<std::size_t>(regionOf[i]);
        FoundPlane& plane = fitted.planes[i];
        plane.frame = frames[region];
        plane.tolerance = fitted.heights[i].reach;
        plane.points = static_cast<std::uint64_t>(points[i].sum.count);
        if (plane.points < 3) return {};
        FitPlane(points[i], settings.minArea, plane);
        const std::vector<CellPlace>& cells = (*extents)[region].cells;
        if (fitted.faces.AreSeveral(regionOf[i])) {
            classifier.Classify(CellsOfFace(cells, fitted.faces, regionOf[i],
                                            static_cast<std::int32_t>(i), settings.cellSize),
                                plane);
        } else {
            classifier.Classify(cells, plane);
        }
        return {};
    });
    if (!done) return ErrorOf(done);
    return fitted;
}

}  // namespace orvix::detection
