// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/plane_search.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>

#include "detection/cells/cloud_estimate.h"
#include "detection/cells/gather_cells.h"
#include "detection/outlines/raster_outline.h"
#include "detection/plane_classifier.h"
#include "detection/regions/region_merge.h"
#include "orvix/geometry/symmetric_matrix.h"

namespace orvix::detection {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kNoises = 4.5;          // in the distance of a point from its plane
constexpr double kReach = 3;             // times the rms of a plane that takes in more than noise
constexpr double kMaxPixels = 1U << 28;  // of one plane: 32 MiB

// The cosine by its series: the maths library's differs in the last place from system to system.
double Cosine(double radians) {
    double term = 1, sum = 1;
    for (int i = 1; i < 12; ++i) {
        term *= -radians * radians / ((2 * i - 1) * (2 * i));
        sum += term;
    }
    return sum;
}

std::size_t StepOf(double cellSize) {
    const auto& sizes = CellFrame::kSizes;
    std::size_t step = 0;
    while (step + 1 < sizes.size() && sizes[step] < cellSize * (1 - 1e-9)) ++step;
    return step;
}

Vector UnitNormalOf(const MomentSum& sum) {
    return detail::DecomposeSymmetric(sum.Covariance()).vectors[2];
}

}  // namespace

Expected<std::unique_ptr<PlaneSearch>> PlaneSearch::Run(CProjectCore& core,
                                                        const PlaneSearchOptions& options) {
    const parallel::Pool pool(options.threads, options.proceed,
                              "the search for planes was cancelled");
    std::unique_ptr<PlaneSearch> search(new PlaneSearch(core));
    if (core.AlivePointCount() == 0) return search;
    if (!core.CreateAlivePointReader()) return NoView();
    if (auto done = search->Grow(pool, options); !done) return ErrorOf(done);
    if (auto done = search->Fit(pool, options); !done) return ErrorOf(done);
    search->Rank();
    return search;
}

Expected<void> PlaneSearch::Grow(const parallel::Pool& pool, const PlaneSearchOptions& options) {
    std::size_t step = StepOf(options.cellSize);
    if (!(options.cellSize > 0)) {
        const auto typical = TypicalCellStep(core_, pool);
        if (!typical) return ErrorOf(typical);
        step = *typical;
    }
    for (;; ++step) {
        auto grown = GrowIn(CellFrame(step), pool, options);
        // Where cells do not fit into memory, larger ones do.
        const bool mayGrow = !grown && grown.error().code == ErrorCode::BadInput &&
                             step + 1 < CellFrame::kSizes.size();
        if (!mayGrow) return grown;
    }
}

Expected<void> PlaneSearch::GrowIn(const CellFrame& frame, const parallel::Pool& pool,
                                   const PlaneSearchOptions& options) {
    auto cut = CutIntoChunks(core_, frame);
    if (!cut) return ErrorOf(cut);
    cut_ = std::move(*cut);
    if (auto done = Derive(pool, options); !done) return done;
    const GrowthLimits limits = Limits();
    auto grown = GrowTiles(core_, cut_, limits, pool, options.memoryLimitBytes);
    if (!grown) return ErrorOf(grown);
    grown_ = std::move(*grown);
    if (auto done = MergeRegions(limits, settings_.bridge, pool, grown_.map, grown_.regions); !done)
        return done;
    auto choices = PlaneChoices::Of(grown_.map, pool);
    if (!choices) return ErrorOf(choices);
    choices_ = std::move(*choices);
    return {};
}

Expected<void> PlaneSearch::Derive(const parallel::Pool& pool, const PlaneSearchOptions& options) {
    const auto estimate = EstimateCloud(core_, cut_, pool);
    if (!estimate) return ErrorOf(estimate);
    const double size = cut_.frame.Size();
    const auto orElse = [](double given, double derived) { return given > 0 ? given : derived; };
    settings_.cellSize = size;
    settings_.noise = estimate->noise;
    settings_.spacing = estimate->spacing;
    settings_.distance = orElse(options.distance, std::max(kNoises * settings_.noise, 0.01));
    settings_.angle = orElse(options.angle, 20);
    settings_.minArea = orElse(options.minArea, std::max(0.25, 9 * size * size));
    settings_.minPoints = orElse(options.minPoints, 30);
    settings_.bridge = options.bridge >= 0 ? options.bridge : std::max(0.3, 2 * size);
    return {};
}

GrowthLimits PlaneSearch::Limits() const {
    GrowthLimits limits;
    limits.distance = settings_.distance;
    limits.minCosine = Cosine(std::min(settings_.angle, 90.0) * kPi / 180);
    limits.noise = settings_.noise;
    limits.minArea = settings_.minArea / 2;
    limits.minPoints = settings_.minPoints;
    return limits;
}

// Pixels twice as wide as the points of the region's sparser cells are apart.
PlaneRaster PlaneSearch::RasterOf(RegionExtent& extent) const {
    const double size = settings_.cellSize;
    auto& counts = extent.counts;
    const auto sparse =
        counts.begin() + static_cast<std::ptrdiff_t>(0.3 * static_cast<double>(counts.size() - 1));
    std::nth_element(counts.begin(), sparse, counts.end());
    const Extends2DT<double> bounds{
        {extent.bounds.min.x - 3 * size, extent.bounds.min.y - 3 * size},
        {extent.bounds.max.x + 3 * size, extent.bounds.max.y + 3 * size}};
    double pixel = std::min(2 * size / std::sqrt(std::max<double>(*sparse, 1)), size);
    while (PlaneRaster::PixelsOf(bounds, pixel) > kMaxPixels) pixel *= 2;
    return {bounds, pixel};
}

Expected<void> PlaneSearch::Fit(const parallel::Pool& pool, const PlaneSearchOptions& options) {
    const std::vector<Region>& regions = grown_.regions;
    std::vector<PlaneFrame> frames;
    for (const Region& region : regions) {
        const Vector& n = region.plane.normal;
        const double height = Dot(n, region.plane.centre);
        const double reach = std::max(settings_.distance, kReach * region.rms);
        regionPlanes_.push_back({n, height, reach});
        frames.emplace_back(n.x, n.y, n.z, -height);
    }
    auto extents = ExtentsOf(grown_.map, regions, frames, pool);
    if (!extents) return ErrorOf(extents);
    planes_.resize(regions.size());
    std::vector<PlaneRaster> rasters;
    for (std::size_t i = 0; i < regions.size(); ++i) {
        planes_[i].frame = frames[i];
        planes_[i].tolerance = regionPlanes_[i].reach;
        rasters.push_back(RasterOf((*extents)[i]));
    }
    const auto sums = Assign(pool, rasters);
    if (!sums) return ErrorOf(sums);
    const PlaneClassifier classifier(grown_.map, options.stations, settings_.spacing);
    return pool.RunJobs(planes_.size(), [&](std::size_t i, unsigned) -> Expected<void> {
        planes_[i].points = static_cast<std::uint64_t>((*sums)[i].count);
        if (planes_[i].points < 3) return {};
        planes_[i].centre = regions[i].plane.centre;
        Finish((*sums)[i], rasters[i], planes_[i]);
        classifier.Classify((*extents)[i].cells, planes_[i]);
        return {};
    });
}

// What the points of a chunk add to a plane, kept at hand while they follow each other.
class PlaneSearch::Tally {
public:
    Tally(const PlaneSearch& search, std::vector<PlaneRaster>& rasters,
          std::vector<std::int32_t>& slots)
        : search_(search), assignment_(search.Assignment()), rasters_(rasters), slots_(slots) {}

    void Take(std::span<const CCloudPoint<float>> points, std::span<const std::int32_t> choice) {
        if (choice.size() == 1) return TakeAll(points, choice[0]);
        for (const auto& p : points) {
            const std::int32_t region = assignment_.Nearest({p.x, p.y, p.z}, choice);
            if (region == kNoRegion) continue;
            Turn(region);
            Take({p.x, p.y, p.z}, sum_);
        }
    }
    Sums Finish() {
        Turn(kNoRegion);
        for (const auto& [region, sum] : sums_) slots_[static_cast<std::size_t>(region)] = -1;
        return std::move(sums_);
    }

private:
    // Points that have but one plane to belong to.
    void TakeAll(std::span<const CCloudPoint<float>> points, std::int32_t region) {
        Turn(region);
        const PlaneHeight plane = search_.regionPlanes_[static_cast<std::size_t>(region)];
        MomentSum sum = sum_;
        for (const auto& p : points) {
            const Vector at{p.x, p.y, p.z};
            if (!(std::abs(plane.Distance(at)) > plane.reach)) Take(at, sum);
        }
        sum_ = sum;
    }
    void Take(const Vector& at, MomentSum& sum) {
        sum.Add(at - centre_);
        raster_->Mark(frame_.To2D(at));
    }
    void Turn(std::int32_t region) {
        if (region == region_) return;
        if (region_ != kNoRegion) sums_[slot_].second = sum_;
        region_ = region;
        if (region == kNoRegion) return;
        const auto i = static_cast<std::size_t>(region);
        if (slots_[i] < 0) {
            slots_[i] = static_cast<std::int32_t>(sums_.size());
            sums_.emplace_back(region, MomentSum{});
        }
        slot_ = static_cast<std::size_t>(slots_[i]);
        sum_ = sums_[slot_].second;
        centre_ = search_.grown_.regions[i].plane.centre;
        frame_ = search_.planes_[i].frame;
        raster_ = &rasters_[i];
    }

    const PlaneSearch& search_;
    const PointAssignment assignment_;
    std::vector<PlaneRaster>& rasters_;
    std::vector<std::int32_t>& slots_;  // of each region in sums_; -1: none
    Sums sums_;
    std::int32_t region_ = kNoRegion;
    std::size_t slot_ = 0;
    MomentSum sum_;
    Vector centre_;
    PlaneFrame frame_;
    PlaneRaster* raster_ = nullptr;
};

// Gives each point to its plane: their moments about the regions' centres, and their marks.
Expected<std::vector<MomentSum>> PlaneSearch::Assign(const parallel::Pool& pool,
                                                     std::vector<PlaneRaster>& rasters) const {
    std::vector<Sums> parts(Chunks());
    Readers readers(core_, pool.Threads());
    std::vector<std::vector<std::int32_t>> slots(pool.Threads());
    const PointAssignment assignment = Assignment();
    auto done = pool.RunJobs(Chunks(), [&](std::size_t job, unsigned worker) -> Expected<void> {
        slots[worker].resize(regionPlanes_.size(), -1);
        Tally tally(*this, rasters, slots[worker]);
        const bool mapped = assignment.ForEachRun(
            readers[worker], job,
            [&](std::span<const CCloudPoint<float>> points, std::span<const std::int32_t> choice) {
                tally.Take(points, choice);
            });
        parts[job] = tally.Finish();
        if (!mapped) return NoView();
        return {};
    });
    if (!done) return ErrorOf(done);
    std::vector<MomentSum> sums(regionPlanes_.size());
    for (const Sums& part : parts)
        for (const auto& [region, sum] : part) sums[static_cast<std::size_t>(region)].Add(sum);
    return sums;
}

// The plane through the points, and their outline; `plane.centre` is what the sums are about.
void PlaneSearch::Finish(const MomentSum& sum, PlaneRaster& raster, FoundPlane& plane) const {
    plane.normal = UnitNormalOf(sum);
    plane.centre = plane.centre + sum.Mean();
    plane.offset = -Dot(plane.normal, plane.centre);
    plane.rms = std::sqrt(std::max(QuadraticForm(sum.Covariance(), plane.normal), 0.0));
    raster.CloseGaps();
    OutlineLimits limits;
    limits.minHoleArea = std::max(settings_.minArea / 4, 9 * raster.Pixel() * raster.Pixel());
    limits.minIslandArea = settings_.minArea / 10;
    plane.outline = OutlineOf(raster, limits);
    plane.area = plane.outline.area;
    raster = {};
}

void PlaneSearch::Rank() {
    std::vector<std::int32_t> order;
    for (std::size_t i = 0; i < planes_.size(); ++i) {
        const FoundPlane& plane = planes_[i];
        if (static_cast<double>(plane.points) >= settings_.minPoints &&
            plane.area >= settings_.minArea)
            order.push_back(static_cast<std::int32_t>(i));
    }
    const auto at = [](std::int32_t i) { return static_cast<std::size_t>(i); };
    std::stable_sort(order.begin(), order.end(), [&](std::int32_t a, std::int32_t b) {
        return planes_[at(a)].points > planes_[at(b)].points;
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

Expected<PlaceReport> PlaneSearch::Explain(const Vector& place) const {
    PlaceReport report;
    std::int32_t nearest = Assignment().At(place);
    report.plane = PlaneOfRegion(nearest);
    if (nearest == kNoRegion) nearest = Assignment().At(place, false);
    if (nearest != kNoRegion) {
        report.nearest = PlaneOfRegion(nearest);
        report.nearestDistance = regionPlanes_[static_cast<std::size_t>(nearest)].Distance(place);
    }
    const std::optional<CellPlace> home = cut_.frame.PlaceOf(place);
    if (!home) return report;
    std::uint32_t cell = 0;
    const std::size_t tile = grown_.map.Find(*home, cell);
    if (tile == grown_.map.Tiles()) return report;
    Readers readers(core_, 1);
    const auto shaped = ReadTile(readers[0], cut_, tile, settings_.noise);
    if (!shaped) return ErrorOf(shaped);
    if (cell >= shaped->cells.Size() ||
        shaped->cells.Key(cell) != grown_.map.SummaryOf(tile, cell).Key())
        return Fail(ErrorCode::Damaged, "the points have changed since; search again");
    report.occupied = true;
    report.points = static_cast<std::uint64_t>(shaped->cells.Sum(cell).count);
    report.cellNormal = shaped->shapes[cell].Normal();
    report.cellRms = shaped->shapes[cell].rms;
    if (report.nearest >= 0)
        report.nearestTurn = std::abs(
            Dot(report.cellNormal, planes_[static_cast<std::size_t>(report.nearest)].normal));
    return report;
}

}  // namespace orvix::detection
