// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/plane_search.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include "detection/cells/point_readers.h"
#include "detection/face_points.h"
#include "detection/plane_groups.h"
#include "detection/region_planes.h"
#include "detection/search_settings.h"
#include "detection/search_stages.h"
#include "detection/shared_lines.h"

namespace orvix::detection {
namespace {

/// How far a search is, by its jobs: the chunks are read twice, and the tiles are worked on five times
/// in between.
class SearchProgress {
public:
    explicit SearchProgress(const PlaneSearchOptions& options) : options_(options) {}
    void Expect(const PointChunks& cut, std::uint64_t jobsDone) {
        jobs_ = 2 * cut.chunks.size() + 5 * cut.tiles.size();
        before_ = jobsDone;
    }
    bool Report(std::uint64_t jobsDone) {
        if (jobs_ > 0) {
            const auto done = static_cast<double>(jobsDone - before_);
            done_ = std::max(done_, std::min(done / static_cast<double>(jobs_), 1.0));
        }
        if (options_.progress) options_.progress(done_);
        return !options_.proceed || options_.proceed();
    }

private:
    const PlaneSearchOptions& options_;
    std::uint64_t jobs_ = 0;
    std::uint64_t before_ = 0;
    double done_ = 0;
};

/// The regions of a cloud, and the settings that they were found with.
struct SettledRegions {
    PlaneSearchSettings settings;
    CloudRegions regions;
};

Expected<SettledRegions> FindRegionsOf(CProjectCore& core, SearchPlan&& plan,
                                       const PlaneSearchOptions& options,
                                       const parallel::Pool& pool, SearchProgress& progress) {
    progress.Expect(plan.cut, pool.JobsDone());
    const PlaneSearchSettings& settings = plan.settings;
    auto regions = FindRegions(core, std::move(plan.cut), LimitsFor(options, settings),
                               settings.bridge, pool, options.memoryLimitBytes);
    if (!regions) return ErrorOf(regions);
    return SettledRegions{settings, std::move(*regions)};
}

// Where cells do not fit into memory, larger ones do.
Expected<SettledRegions> FindRegionsThatFit(CProjectCore& core, const PlaneSearchOptions& options,
                                            const parallel::Pool& pool, SearchProgress& progress) {
    auto plan = FirstPlan(core, options, pool);
    while (plan) {
        const std::size_t larger = plan->step + 1;
        auto found = FindRegionsOf(core, std::move(*plan), options, pool, progress);
        const bool mayGrow = !found && found.error().code == ErrorCode::BadInput &&
                             larger < CellFrame::kSizes.size();
        if (!mayGrow) return found;
        plan = PlanSearch(core, larger, options, pool);
    }
    return ErrorOf(plan);
}

// The regions whose planes are large enough, by their points, most first, equal ones by number.
std::vector<std::size_t> RankedRegions(const std::vector<FoundPlane>& planes,
                                       const PlaneSearchSettings& settings) {
    std::vector<std::size_t> order;
    for (std::size_t i = 0; i < planes.size(); ++i)
        if (static_cast<double>(planes[i].points) >= settings.minPoints &&
            planes[i].area >= settings.minArea)
            order.push_back(i);
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return planes[a].points > planes[b].points;
    });
    return order;
}

}  // namespace

struct PlaneSearch::State {
    CProjectCore& core;
    PlaneSearchSettings settings;
    CloudRegions regions;
    std::vector<PlaneHeight> heights;   // of each face: what points are compared with
    RegionFaces faces;                  // regions that are several planes
    std::vector<std::int32_t> planeOf;  // of each face; -1: too small
    std::vector<FoundPlane> planes;
    std::uint64_t assigned = 0;
    std::uint64_t leftOut = 0;

    Expected<void> Search(const PlaneSearchOptions& options);
    Expected<void> Finish(const SearchStages& stages, const PlaneSearchOptions& options);
    Expected<void> Fit(const PlaneSearchOptions& options, const parallel::Pool& pool,
                       const PointsAdder& add);
    void Rank(std::vector<FoundPlane>&& fitted);

    [[nodiscard]] PointAssignment Assignment() const { return {regions, heights, &faces}; }
    [[nodiscard]] std::int32_t PlaneOfFace(std::int32_t face) const {
        return face < 0 ? -1 : planeOf[static_cast<std::size_t>(face)];
    }
    [[nodiscard]] Expected<void> DescribeCell(const Vector& place, PlaceReport& report) const;
};

Expected<void> PlaneSearch::State::Search(const PlaneSearchOptions& options) {
    SearchProgress progress(options);
    const parallel::Pool pool(
        options.threads, [&] { return progress.Report(pool.JobsDone()); },
        "the search for planes was cancelled");
    auto found = FindRegionsThatFit(core, options, pool, progress);
    if (!found) return ErrorOf(found);
    settings = found->settings;
    regions = std::move(found->regions);
    return Fit(options, pool, [&](const auto& compared, auto& points) {
        return AssignPoints(core, regions, compared, pool, points);
    });
}

// Only what is left: neither pass over all points.
Expected<void> PlaneSearch::State::Finish(const SearchStages& stages,
                                          const PlaneSearchOptions& options) {
    SearchProgress progress(options);
    const parallel::Pool pool(
        options.threads, [&] { return progress.Report(pool.JobsDone()); },
        "the search for planes was cancelled");
    settings = stages.Plan().settings;
    regions.cut = stages.Plan().cut;
    auto grown = stages.Regions();
    if (!grown) return ErrorOf(grown);
    regions.grown = std::move(*grown);
    const GrowthLimits limits = LimitsFor(options, settings);
    auto choices =
        PlaneChoices::Of(regions.grown.map, regions.grown.regions, limits.distance, pool);
    if (!choices) return ErrorOf(choices);
    regions.choices = std::move(*choices);
    return Fit(options, pool, [&](const auto&, auto& points) { return stages.AddPoints(points); });
}

Expected<void> PlaneSearch::State::Fit(const PlaneSearchOptions& options,
                                       const parallel::Pool& pool, const PointsAdder& add) {
    auto fitted = FitRegionPlanes(
        regions.grown, settings, LimitsFor(options, settings), options.stations, pool, add,
        [&](const RegionFaces& found, const auto& compared, auto& points) {
            return AddFacePoints(core, regions, found, compared, pool, points);
        });
    if (!fitted) return ErrorOf(fitted);
    heights = std::move(fitted->heights);
    faces = std::move(fitted->faces);
    Rank(std::move(fitted->planes));
    return ShareLines(planes, pool);
}

void PlaneSearch::State::Rank(std::vector<FoundPlane>&& fitted) {
    planeOf.assign(fitted.size(), -1);
    const auto withPoints = std::count_if(fitted.begin(), fitted.end(),
                                          [](const FoundPlane& plane) { return plane.points > 2; });
    for (const std::size_t region : RankedRegions(fitted, settings)) {
        planeOf[region] = static_cast<std::int32_t>(planes.size());
        assigned += fitted[region].points;
        planes.push_back(std::move(fitted[region]));
    }
    leftOut = regions.grown.leftOut + static_cast<std::uint64_t>(withPoints) - planes.size();
    GroupCoplanar(planes);
}

// What the points in the place's cell say, which are read again.
Expected<void> PlaneSearch::State::DescribeCell(const Vector& place, PlaceReport& report) const {
    const CellMap& map = regions.grown.map;
    const std::optional<CellPlace> home = regions.cut.frame.PlaceOf(place);
    if (!home) return {};
    std::uint32_t cell = 0;
    const std::size_t tile = map.Find(*home, cell);
    if (tile == map.Tiles()) return {};
    PointReaders readers(core, 1);
    const auto shaped = ReadTile(readers[0], regions.cut, tile, settings.noise);
    if (!shaped) return ErrorOf(shaped);
    if (cell >= shaped->cells.Size() || shaped->cells.Key(cell) != map.SummaryOf(tile, cell).Key())
        return Fail(ErrorCode::Damaged, "the points have changed since; search again");
    report.occupied = true;
    report.points = static_cast<std::uint64_t>(shaped->cells.Sum(cell).count);
    report.cellNormal = shaped->shapes[cell].Normal();
    report.cellRms = shaped->shapes[cell].rms;
    if (report.nearest >= 0)
        report.nearestTurn = std::abs(
            Dot(report.cellNormal, planes[static_cast<std::size_t>(report.nearest)].normal));
    return {};
}

PlaneSearch::PlaneSearch(std::unique_ptr<State> state) : state_(std::move(state)) {}
PlaneSearch::~PlaneSearch() = default;

Expected<std::unique_ptr<PlaneSearch>> PlaneSearch::Run(CProjectCore& core,
                                                        const PlaneSearchOptions& options) {
    std::unique_ptr<PlaneSearch> search(
        new PlaneSearch(std::unique_ptr<State>(new State{core, {}, {}, {}, {}, {}, {}, 0, 0})));
    if (core.AlivePointCount() == 0) return search;
    if (!core.CreateAlivePointReader()) return PointsNotMapped();
    if (auto done = search->state_->Search(options); !done) return ErrorOf(done);
    return search;
}

Expected<std::unique_ptr<PlaneSearch>> PlaneSearch::Finish(CProjectCore& core,
                                                           const SearchStages& stages,
                                                           const PlaneSearchOptions& how) {
    std::unique_ptr<PlaneSearch> search(
        new PlaneSearch(std::unique_ptr<State>(new State{core, {}, {}, {}, {}, {}, {}, 0, 0})));
    if (core.AlivePointCount() == 0) return search;
    PlaneSearchOptions options = stages.Options();
    options.threads = how.threads;
    options.stations = how.stations;
    options.proceed = how.proceed;
    options.progress = how.progress;
    if (auto done = search->state_->Finish(stages, options); !done) return ErrorOf(done);
    return search;
}

const PlaneSearchSettings& PlaneSearch::Settings() const {
    return state_->settings;
}
const std::vector<FoundPlane>& PlaneSearch::Planes() const {
    return state_->planes;
}
std::uint64_t PlaneSearch::Points() const {
    return state_->regions.cut.points;
}
std::uint64_t PlaneSearch::AssignedPoints() const {
    return state_->assigned;
}
std::uint64_t PlaneSearch::Cells() const {
    return state_->regions.grown.map.Cells();
}
std::uint64_t PlaneSearch::LeftOut() const {
    return state_->leftOut;
}
std::size_t PlaneSearch::Chunks() const {
    return state_->regions.cut.chunks.size();
}

std::uint64_t PlaneSearch::FirstRecord(std::size_t chunk) const {
    const auto& chunks = state_->regions.cut.chunks;
    return chunk < chunks.size() ? chunks[chunk].first : Points();
}

Expected<void> PlaneSearch::ReadChunk(CAlivePointReader& reader, std::size_t chunk,
                                      const std::function<void(const PlanePoints&)>& use) const {
    std::uint64_t record = FirstRecord(chunk);
    return state_->Assignment().ForEachBlock(
        reader, chunk,
        [&](std::span<const CCloudPoint<float>> points, std::span<std::int32_t> planes) {
            for (std::int32_t& plane : planes) plane = state_->PlaneOfFace(plane);
            use({record, points, planes});
            record += points.size();
        });
}

std::int32_t PlaneSearch::PlaneOf(const SimplePointT<double>& place) const {
    return state_->PlaneOfFace(state_->Assignment().At(place));
}

Expected<PlaceReport> PlaneSearch::Explain(const SimplePointT<double>& place) const {
    const PointAssignment assignment = state_->Assignment();
    PlaceReport report;
    std::int32_t nearest = assignment.At(place);
    report.plane = state_->PlaneOfFace(nearest);
    if (nearest == kNoRegion) nearest = assignment.At(place, false);
    if (nearest != kNoRegion) {
        report.nearest = state_->PlaneOfFace(nearest);
        report.nearestDistance = state_->heights[static_cast<std::size_t>(nearest)].Distance(place);
    }
    if (auto done = state_->DescribeCell(place, report); !done) return ErrorOf(done);
    return report;
}

}  // namespace orvix::detection
