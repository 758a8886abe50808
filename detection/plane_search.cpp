// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/plane_search.h"

#include <fmt/format.h>
#include <algorithm>
#include <cmath>
#include <numeric>

#include "detection/cell_shapes.h"
#include "detection/plane_kinds.h"
#include "detection/plane_raster.h"
#include "detection/raster_outline.h"
#include "detection/region_growth.h"
#include "detection/region_merge.h"
#include "orvix/planes/symmetric_eigen.h"

namespace orvix::detection {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kMostPixels = 1U << 28;  // of one plane: 32 MiB

// The cosine by its series: the maths library's differs in the last place from system to system.
double Cosine(double radians) {
    double term = 1, sum = 1;
    for (int i = 1; i < 12; ++i) {
        term *= -radians * radians / ((2 * i - 1) * (2 * i));
        sum += term;
    }
    return sum;
}

// What a surface's points are apart when a cell that it passes squarely holds so many.
double SpacingIn(double cellSize, double points) {
    return cellSize / std::sqrt(std::max(points, 1.0));
}

double CountAtShare(const CellGrid& grid, std::span<const std::uint32_t> cells, double share) {
    std::vector<std::uint32_t> counts;
    counts.reserve(cells.size());
    for (const std::uint32_t cell : cells) counts.push_back(grid[cell].count);
    const auto at = counts.begin() +
                    static_cast<std::ptrdiff_t>(share * static_cast<double>(counts.size() - 1));
    std::nth_element(counts.begin(), at, counts.end());
    return *at;
}

Vector UnitNormalOf(const MomentSum& sum) {
    const Symmetric c = sum.Covariance();
    const orvix::detail::EigenSystem3 eigen =
        orvix::detail::DecomposeSymmetric({c[0], c[1], c[2], c[3], c[4], c[5]});
    return {eigen.vectors[2][0], eigen.vectors[2][1], eigen.vectors[2][2]};
}

}  // namespace

/// What one chunk's points add to the planes.
struct PlaneSearch::Tally {
    std::vector<std::pair<std::int32_t, MomentSum>> sums;  // about the regions' centres
};

Expected<std::unique_ptr<PlaneSearch>> PlaneSearch::Run(CProjectCore& core,
                                                        const PlaneSearchOptions& options) {
    const WorkTeam team(options.threads, options.proceed);
    std::unique_ptr<PlaneSearch> search(new PlaneSearch);
    if (core.AlivePointCount() == 0) return search;
    if (auto done = search->Prepare(core, team, options); !done)
        return tl::unexpected<Error>(done.error());
    if (auto done = search->Grow(team); !done) return tl::unexpected<Error>(done.error());
    if (auto done = search->FitToPoints(core, team); !done)
        return tl::unexpected<Error>(done.error());
    if (auto done = search->Outline(team, options); !done)
        return tl::unexpected<Error>(done.error());
    search->Rank();
    return search;
}

Expected<void> PlaneSearch::Gather(CProjectCore& core, const WorkTeam& team,
                                   const PlaneSearchOptions& options) {
    const auto& sizes = CellFrame::kSizes;
    std::size_t step = 0;
    if (options.cellSize > 0) {
        while (step + 1 < sizes.size() && sizes[step] < options.cellSize * (1 - 1e-9)) ++step;
    } else {
        const auto typical = TypicalCellStep(core, team);
        if (!typical) return tl::unexpected<Error>(typical.error());
        step = *typical;
    }
    for (;; ++step) {
        auto cloud = GatherCells(core, CellFrame(step), team, options.memoryLimitBytes);
        if (cloud) {
            cloud_ = std::move(*cloud);
            return {};
        }
        // Where cells do not fit into memory, larger ones do.
        const bool mayGrow = cloud.error().code == ErrorCode::BadInput && step + 1 < sizes.size();
        if (!mayGrow) return tl::unexpected<Error>(cloud.error());
    }
}

Expected<void> PlaneSearch::Prepare(CProjectCore& core, const WorkTeam& team,
                                    const PlaneSearchOptions& options) {
    if (auto done = Gather(core, team, options); !done) return done;
    auto shapes = ShapesOf(cloud_.grid, team);
    if (!shapes) return tl::unexpected<Error>(shapes.error());
    shapes_ = std::move(*shapes);
    const double size = cloud_.grid.Frame().Size();
    const auto orElse = [](double given, double derived) { return given > 0 ? given : derived; };
    settings_.cellSize = size;
    settings_.noise = NoiseOf(shapes_);
    if (auto done = FindThinShapes(cloud_.grid, team, settings_.noise, shapes_); !done) return done;
    std::vector<std::uint32_t> flat;
    for (std::uint32_t i = 0; i < cloud_.grid.Size(); ++i)
        if (shapes_[i].HasNormal()) flat.push_back(i);
    settings_.spacing = flat.empty() ? size : SpacingIn(size, CountAtShare(cloud_.grid, flat, 0.5));
    settings_.distance = orElse(options.distance, std::max(4 * settings_.noise, 0.01));
    settings_.angle = orElse(options.angle, 20);
    settings_.leastArea = orElse(options.leastArea, std::max(0.25, 9 * size * size));
    settings_.leastPoints = orElse(options.leastPoints, 30);
    settings_.bridge = options.bridge >= 0 ? options.bridge : std::max(0.3, size);
    return {};
}

Expected<void> PlaneSearch::Grow(const WorkTeam& team) {
    GrowthLimits limits;
    limits.distance = settings_.distance;
    limits.leastCos = Cosine(std::min(settings_.angle, 90.0) * kPi / 180);
    limits.noise = settings_.noise;
    limits.leastArea = settings_.leastArea / 2;
    limits.leastPoints = settings_.leastPoints;
    auto regions = GrowRegions(cloud_.grid, shapes_, limits, team);
    if (!regions) return tl::unexpected<Error>(regions.error());
    if (settings_.bridge > 0)
        MergeRegions(cloud_.grid, limits, std::max(settings_.bridge, settings_.cellSize),
                     settings_.distance / 4, *regions);
    ofCell_ = std::move(regions->ofCell);
    for (Region& region : regions->regions) {
        regionPlanes_.push_back(region.plane);
        regionCells_.push_back(std::move(region.cells));
    }
    return {};
}

Expected<void> PlaneSearch::FitToPoints(CProjectCore& core, const WorkTeam& team) {
    std::vector<Tally> tallies(Chunks());
    std::vector<std::shared_ptr<CAlivePointReader>> readers(team.Threads());
    std::vector<std::vector<std::int32_t>> places(team.Threads());
    planes_.resize(regionPlanes_.size());
    std::vector<PlaneRaster> rasters(regionPlanes_.size());
    const double size = settings_.cellSize;
    for (std::size_t i = 0; i < regionPlanes_.size(); ++i) {
        const Vector& n = regionPlanes_[i].normal;
        FoundPlane& plane = planes_[i];
        plane.frame = PlaneFrame(n.x, n.y, n.z, -Dot(n, regionPlanes_[i].centre));
        Extends2DT<double> bounds{{1e300, 1e300}, {-1e300, -1e300}};
        for (const std::uint32_t cell : regionCells_[i]) {
            const auto at = plane.frame.To2D(cloud_.grid.MeanOf(cell));
            bounds.min = {std::min(bounds.min.x, at.x), std::min(bounds.min.y, at.y)};
            bounds.max = {std::max(bounds.max.x, at.x), std::max(bounds.max.y, at.y)};
        }
        bounds.min = {bounds.min.x - 2 * size, bounds.min.y - 2 * size};
        bounds.max = {bounds.max.x + 2 * size, bounds.max.y + 2 * size};
        const double sparse = CountAtShare(cloud_.grid, regionCells_[i], 0.3);
        double pixel = std::min(2 * SpacingIn(size, sparse), size);
        while (PlaneRaster::PixelsOf(bounds, pixel) > kMostPixels) pixel *= 2;
        rasters[i] = PlaneRaster(bounds, pixel);
    }
    const PointAssignment assignment = Assignment();
    auto done = team.Run(Chunks(), [&](std::size_t job, unsigned worker) -> Expected<void> {
        auto& reader = readers[worker];
        if (!reader) reader = core.CreateAlivePointReader();
        auto& place = places[worker];
        place.resize(regionPlanes_.size(), -1);
        auto& sums = tallies[job].sums;
        const bool mapped = assignment.ForEach(
            *reader, job, [&](const CCloudPoint<float>& p, std::uint64_t, std::int32_t region) {
                if (region < 0) return;
                const auto i = static_cast<std::size_t>(region);
                if (place[i] < 0) {
                    place[i] = static_cast<std::int32_t>(sums.size());
                    sums.emplace_back(region, MomentSum{});
                }
                const Vector at{p.x, p.y, p.z};
                sums[static_cast<std::size_t>(place[i])].second.Add(at - regionPlanes_[i].centre);
                rasters[i].Mark(planes_[i].frame.To2D(at));
            });
        for (const auto& [region, sum] : sums) place[static_cast<std::size_t>(region)] = -1;
        if (!mapped) return NoView();
        return {};
    });
    if (!done) return done;
    std::vector<MomentSum> sums(regionPlanes_.size());
    for (const Tally& tally : tallies)
        for (const auto& [region, sum] : tally.sums)
            sums[static_cast<std::size_t>(region)].Add(sum);
    return team.Run(planes_.size(), [&](std::size_t i, unsigned) -> Expected<void> {
        FoundPlane& plane = planes_[i];
        const MomentSum& sum = sums[i];
        plane.points = static_cast<std::uint64_t>(sum.count);
        if (sum.count < 3) return {};
        plane.normal = UnitNormalOf(sum);
        plane.centre = regionPlanes_[i].centre + sum.Mean();
        plane.offset = -Dot(plane.normal, plane.centre);
        plane.rms = std::sqrt(std::max(Along(sum.Covariance(), plane.normal), 0.0));
        rasters[i].CloseGaps();
        OutlineLimits limits;
        limits.leastHole =
            std::max(settings_.leastArea / 4, 9 * rasters[i].Pixel() * rasters[i].Pixel());
        limits.leastIsland = settings_.leastArea / 10;
        plane.outline = OutlineOf(rasters[i], limits);
        plane.area = plane.outline.area;
        rasters[i] = {};
        return {};
    });
}

Expected<void> PlaneSearch::Outline(const WorkTeam& team, const PlaneSearchOptions& options) {
    const PlaneJudge judge(cloud_.grid, shapes_, options.stations);
    return team.Run(planes_.size(), [&](std::size_t i, unsigned) -> Expected<void> {
        judge.Judge(regionCells_[i], planes_[i]);
        return {};
    });
}

void PlaneSearch::Rank() {
    std::vector<std::int32_t> order;
    for (std::size_t i = 0; i < planes_.size(); ++i) {
        const FoundPlane& plane = planes_[i];
        if (static_cast<double>(plane.points) >= settings_.leastPoints &&
            plane.area >= settings_.leastArea)
            order.push_back(static_cast<std::int32_t>(i));
    }
    const auto at = [](std::int32_t i) { return static_cast<std::size_t>(i); };
    std::stable_sort(order.begin(), order.end(), [&](std::int32_t a, std::int32_t b) {
        if (planes_[at(a)].points != planes_[at(b)].points)
            return planes_[at(a)].points > planes_[at(b)].points;
        return regionCells_[at(a)][0] < regionCells_[at(b)][0];
    });
    planeOf_.assign(planes_.size(), -1);
    std::vector<FoundPlane> ranked;
    for (const std::int32_t i : order) {
        planeOf_[at(i)] = static_cast<std::int32_t>(ranked.size());
        assigned_ += planes_[at(i)].points;
        ranked.push_back(std::move(planes_[at(i)]));
    }
    planes_ = std::move(ranked);
}

PlaceReport PlaneSearch::Explain(const Vector& place) const {
    PlaceReport report;
    const CellFrame& frame = cloud_.grid.Frame();
    CCloudPoint<float> point;
    point.x = static_cast<float>(place.x);
    point.y = static_cast<float>(place.y);
    point.z = static_cast<float>(place.z);
    if (!CellFrame::Holds(point)) return report;
    const CellPlace home = frame.PlaceOf(point);
    double least = 0;
    std::int32_t nearest = kNoRegion;
    for (std::int32_t x = -1; x <= 1; ++x) {
        for (std::int32_t y = -1; y <= 1; ++y) {
            for (std::int32_t z = -1; z <= 1; ++z) {
                const std::uint32_t cell =
                    cloud_.grid.CellAt({home[0] + x, home[1] + y, home[2] + z});
                const std::int32_t region = cell == kNoCell ? kNoRegion : ofCell_[cell];
                if (region == kNoRegion) continue;
                const double away =
                    std::abs(regionPlanes_[static_cast<std::size_t>(region)].Distance(place));
                const bool nearer =
                    nearest == kNoRegion || away < least || (away == least && region < nearest);
                if (!nearer) continue;
                least = away;
                nearest = region;
            }
        }
    }
    if (nearest != kNoRegion) {
        const auto region = static_cast<std::size_t>(nearest);
        report.nearest = planeOf_[region];
        report.nearestDistance = regionPlanes_[region].Distance(place);
        if (least <= settings_.distance) report.plane = report.nearest;
    }
    const std::uint32_t cell = cloud_.grid.CellAt(home);
    if (cell == kNoCell) return report;
    report.occupied = true;
    report.points = cloud_.grid[cell].count;
    report.cellNormal = shapes_[cell].Normal();
    report.cellRms = shapes_[cell].rms;
    if (report.nearest >= 0)
        report.nearestTurn = std::abs(
            Dot(report.cellNormal, planes_[static_cast<std::size_t>(report.nearest)].normal));
    return report;
}

}  // namespace orvix::detection
