// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/tasks/plane_tasks.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <utility>

#include "detection/search_settings.h"
#include "detection/tasks/stage_results.h"
#include "orvix/platform/path.h"
#include "orvix/points/stream_hash.h"

namespace orvix::detection {
namespace {

constexpr const char* kCancelled = "the task was cancelled; its result is not there";
constexpr std::uint64_t kPlanKey = 0;

std::uint64_t KeyOf(const TaskPlan& plan) {
    TaskWriter writer;
    Encode(plan, writer);
    return detail::HashOf(writer.Bytes().data(), writer.Bytes().size());
}

// What a plan was asked for; all else follows from it and the cloud.
bool IsSameSearch(const PlaneSearchOptions& a, const PlaneSearchOptions& b) {
    return a.cellSize == b.cellSize && a.distance == b.distance && a.angle == b.angle &&
           a.minArea == b.minArea && a.minPoints == b.minPoints && a.bridge == b.bridge &&
           a.detail == b.detail && a.memoryLimitBytes == b.memoryLimitBytes;
}

PlaneSearchOptions ValuesOf(const PlaneSearchOptions& options) {
    PlaneSearchOptions values = options;
    values.threads = 0;
    values.stations.clear();
    values.proceed = {};
    values.progress = {};
    return values;
}

// Stretches of tiles of about as many points each.
std::vector<std::uint32_t> CutIntoPieces(const PointChunks& cut, unsigned pieces) {
    std::vector<std::uint32_t> first;
    std::uint64_t points = 0;
    const std::uint64_t share = cut.points / std::max(pieces, 1U) + 1;
    for (std::size_t tile = 0; tile < cut.tiles.size(); ++tile) {
        if (points >= share * first.size()) first.push_back(static_cast<std::uint32_t>(tile));
        points += cut.tiles[tile].points;
    }
    first.push_back(static_cast<std::uint32_t>(cut.tiles.size()));
    return first;
}

std::vector<std::uint32_t> ChunksOf(const PointChunks& cut, TileRange tiles) {
    std::vector<std::uint32_t> chunks;
    for (std::size_t tile = tiles.first; tile < tiles.last; ++tile)
        chunks.insert(chunks.end(), cut.tiles[tile].chunks.begin(), cut.tiles[tile].chunks.end());
    return chunks;
}

}  // namespace

class PlaneTasks::Impl final : public SearchStages {
public:
    Impl(CString folder, CProjectCore& core) : folder_(std::move(folder)), core_(core) {}

    Expected<void> Begin(const PlaneSearchOptions& options, unsigned pieces) {
        const PlaneSearchOptions values = ValuesOf(options);
        if (platform::PathExists(PlanPath())) {
            if (auto opened = Open(); !opened) return opened;
            if (IsSameSearch(task_.options, values)) return {};
            return Fail(ErrorCode::BadInput,
                        fmt::format("{} holds the tasks of a search with other options; finish or "
                                    "clear them",
                                    platform::ToUtf8(folder_)));
        }
        std::error_code error;
        platform::MakeFolder(folder_, error);
        if (error) return FailSystem(error, platform::ToUtf8(folder_) + " could not be made");
        const parallel::Pool pool(1, options.proceed, kCancelled);
        auto plan = FirstPlan(core_, values, pool);
        if (!plan) return ErrorOf(plan);
        return PlanWith(std::move(*plan), values, pieces);
    }

    Expected<void> Open() {
        if (!platform::PathExists(PlanPath()))
            return Fail(ErrorCode::BadInput,
                        fmt::format("{} holds no tasks of a search; begin one first",
                                    platform::ToUtf8(folder_)));
        auto reader = TaskReader::Open(PlanPath(), kPlanKey);
        if (!reader) return ErrorOf(reader);
        auto task = DecodePlan(*reader);
        if (!task) return ErrorOf(task);
        auto cut = CutIntoChunks(core_, CellFrame(task->step));
        if (!cut) return ErrorOf(cut);
        const auto mark = CloudMark(core_, *cut);
        if (!mark) return ErrorOf(mark);
        if (*mark != task->cloud || task->firstTile.back() != cut->tiles.size())
            return Fail(ErrorCode::BadInput,
                        fmt::format("the project has changed since {} was begun; clear these tasks "
                                    "and begin again",
                                    platform::ToUtf8(folder_)));
        Take(std::move(*task), std::move(*cut));
        return {};
    }

    [[nodiscard]] TaskState State() const {
        TaskState state;
        if (plan_.cut.points == 0) return state;
        const auto list = [&](const char* stage) {
            for (std::size_t piece = 0; piece < task_.Pieces(); ++piece) {
                const std::string name = fmt::format("{}/{}", stage, piece);
                (IsDone(name) ? state.done : state.ready).push_back(name);
            }
            return state.ready.empty();
        };
        if (!list("tiles")) return state;
        if (!IsDone("join")) {
            state.ready.emplace_back("join");
            return state;
        }
        state.done.emplace_back("join");
        list("points");
        return state;
    }

    Expected<void> Run(const std::string& name, unsigned threads,
                       const std::function<bool()>& proceed) {
        const TaskState state = State();
        if (std::find(state.done.begin(), state.done.end(), name) != state.done.end()) return {};
        if (std::find(state.ready.begin(), state.ready.end(), name) == state.ready.end())
            return Fail(ErrorCode::BadInput,
                        fmt::format("there is no task {} that can run now; list them", name));
        const parallel::Pool pool(threads, proceed, kCancelled);
        if (name == "join") return WithLargerCells(Join(pool), pool);
        std::size_t piece = 0;
        const char* number = name.data() + name.find('/') + 1;
        std::from_chars(number, name.data() + name.size(), piece);
        if (name.starts_with("tiles")) return WithLargerCells(Grow(piece, pool), pool);
        return AssignPiece(piece, pool);
    }

    [[nodiscard]] const PlaneSearchOptions& Options() const override { return task_.options; }
    [[nodiscard]] const SearchPlan& Plan() const override { return plan_; }

    [[nodiscard]] Expected<GrownTiles> Regions() const override {
        auto joined = ReadJoined();
        if (!joined) return ErrorOf(joined);
        return RegionsIn(*joined, [](std::size_t) { return true; });
    }

    [[nodiscard]] Expected<void> AddPoints(std::vector<RegionPoints>& points) const override {
        std::vector<ChunkSums> sums(plan_.cut.chunks.size());
        std::vector<bool> seen(sums.size());
        for (std::size_t piece = 0; piece < task_.Pieces(); ++piece) {
            auto reader = TaskReader::Open(PathOf(fmt::format("points/{}", piece)), key_);
            if (!reader) return ErrorOf(reader);
            if (auto taken = TakePoints(*reader, sums, seen, points); !taken) return taken;
        }
        if (std::find(seen.begin(), seen.end(), false) != seen.end())
            return Fail(ErrorCode::Damaged,
                        fmt::format("the results in {} leave out some of the points; clear these "
                                    "tasks and begin again",
                                    platform::ToUtf8(folder_)));
        AddSums(sums, points);  // BEHAVIOUR A19
        return {};
    }

private:
    [[nodiscard]] CString PlanPath() const { return platform::JoinPath(folder_, L"plan"); }
    // Results bear the plan's key, so that those of smaller cells are none of these.
    [[nodiscard]] CString PathOf(std::string name) const {
        std::replace(name.begin(), name.end(), '/', '-');
        return platform::JoinPath(folder_,
                                  platform::FromUtf8(fmt::format("{}.{:016x}", name, key_)));
    }
    [[nodiscard]] bool IsDone(const std::string& name) const {
        return platform::PathExists(PathOf(name));
    }
    void Take(TaskPlan task, PointChunks cut) {
        key_ = KeyOf(task);
        plan_ = {task.step, std::move(cut), task.settings};
        task_ = std::move(task);
        limits_ = LimitsFor(task_.options, task_.settings);
    }

    Expected<void> PlanWith(SearchPlan&& plan, const PlaneSearchOptions& options, unsigned pieces) {
        const auto mark = CloudMark(core_, plan.cut);
        if (!mark) return ErrorOf(mark);
        TaskPlan task{options, plan.settings, plan.step, *mark, CutIntoPieces(plan.cut, pieces)};
        TaskWriter writer;
        Encode(task, writer);
        if (auto stored = writer.Store(PlanPath(), kPlanKey); !stored) return stored;
        Take(std::move(task), std::move(plan.cut));
        return {};
    }

    // Where cells do not fit into memory, larger ones do: the plan is made anew, unless another task
    // has done so already.
    Expected<void> WithLargerCells(Expected<void> done, const parallel::Pool& pool) {
        if (done || done.error().code != ErrorCode::BadInput ||
            task_.step + 1 >= CellFrame::kSizes.size())
            return done;
        const std::uint64_t step = task_.step;
        if (auto opened = Open(); !opened) return opened;
        if (task_.step != step) return {};
        const PlaneSearchOptions options = task_.options;
        auto plan = PlanSearch(core_, step + 1, options, pool);
        if (!plan) return ErrorOf(plan);
        return PlanWith(std::move(*plan), options, static_cast<unsigned>(task_.Pieces()));
    }

    Expected<void> Grow(std::size_t piece, const parallel::Pool& pool) const {
        const TileRange tiles = task_.Piece(piece);
        auto grown =
            GrowSomeTiles(core_, plan_.cut, limits_, pool, task_.options.memoryLimitBytes, tiles);
        if (!grown) return ErrorOf(grown);
        TaskWriter writer;
        Encode(*grown, plan_.cut, tiles, writer);
        return writer.Store(PathOf(fmt::format("tiles/{}", piece)), key_);
    }

    [[nodiscard]] Expected<GrownTiles> CollectTiles(
        const std::function<bool(std::size_t)>& wanted) const {
        TileCollector collector(plan_.cut);
        for (std::size_t piece = 0; piece < task_.Pieces(); ++piece) {
            const TileRange tiles = task_.Piece(piece);
            bool any = false;
            for (std::size_t tile = tiles.first; tile < tiles.last; ++tile) any |= wanted(tile);
            if (!any) continue;
            auto reader = TaskReader::Open(PathOf(fmt::format("tiles/{}", piece)), key_);
            if (!reader) return ErrorOf(reader);
            if (auto taken = collector.Take(*reader, tiles, wanted); !taken) return ErrorOf(taken);
        }
        return collector.Finish();
    }

    Expected<void> Join(const parallel::Pool& pool) const {
        auto grown = CollectTiles([](std::size_t) { return true; });
        if (!grown) return ErrorOf(grown);
        if (auto fit = RequireThatCellsFit(*grown, task_.options.memoryLimitBytes); !fit)
            return fit;
        grown->map.Number(grown->regionsIn);
        JoinedRegions joined;
        joined.regionsIn = grown->regionsIn;
        auto merged =
            MergeRegions(limits_, task_.settings.bridge, pool, grown->map, grown->regions);
        if (!merged) return ErrorOf(merged);
        joined.merged = std::move(*merged);
        joined.regions = std::move(grown->regions);
        const RegionTargets targets(joined.regions, limits_);
        auto extents = ExtentsOf(grown->map, joined.regions, targets.frames, pool);
        if (!extents) return ErrorOf(extents);
        joined.rasters = RasterPlansOf(*extents, joined.regions, task_.settings.cellSize, limits_);
        TaskWriter writer;
        Encode(joined, writer);
        return writer.Store(PathOf("join"), key_);
    }

    [[nodiscard]] Expected<JoinedRegions> ReadJoined() const {
        auto reader = TaskReader::Open(PathOf("join"), key_);
        if (!reader) return ErrorOf(reader);
        return DecodeJoined(*reader, plan_.cut.tiles.size());
    }

    // The cloud's regions, and the cells of those tiles that are wanted.
    [[nodiscard]] Expected<GrownTiles> RegionsIn(
        JoinedRegions& joined, const std::function<bool(std::size_t)>& wanted) const {
        auto grown = CollectTiles(wanted);
        if (!grown) return ErrorOf(grown);
        for (std::size_t tile = 0; tile < plan_.cut.tiles.size(); ++tile)
            if (wanted(tile) && grown->regionsIn[tile] != joined.regionsIn[tile])
                return Fail(ErrorCode::Damaged,
                            fmt::format("the results in {} contradict each other; clear these "
                                        "tasks and begin again",
                                        platform::ToUtf8(folder_)));
        grown->map.Number(joined.regionsIn);
        grown->map.Renumber(joined.merged.numbers);
        grown->regionsIn = joined.regionsIn;
        grown->regions = std::move(joined.regions);
        grown->leftOut += joined.merged.leftOut;
        return grown;
    }

    // The tiles of a piece and those that touch them.
    [[nodiscard]] std::vector<bool> TilesAround(TileRange tiles) const {
        const auto& all = plan_.cut.tiles;
        std::vector<bool> around(all.size());
        const auto mark = [&](const CellPlace& place) {
            const auto at = std::lower_bound(
                all.begin(), all.end(), place,
                [](const TileChunks& its, const CellPlace& wanted) { return its.place < wanted; });
            if (at != all.end() && Same(at->place, place))
                around[static_cast<std::size_t>(at - all.begin())] = true;
        };
        for (std::size_t tile = tiles.first; tile < tiles.last; ++tile) {
            const CellPlace& home = all[tile].place;
            for (std::int32_t x = -1; x <= 1; ++x)
                for (std::int32_t y = -1; y <= 1; ++y)
                    for (std::int32_t z = -1; z <= 1; ++z)
                        mark({home[0] + x, home[1] + y, home[2] + z});
        }
        return around;
    }

    // A raster for each region that passes one of these tiles; the others stay without pixels.
    [[nodiscard]] std::vector<RegionPoints> PointsOf(const GrownTiles& grown,
                                                     const RegionTargets& targets,
                                                     const std::vector<RasterPlan>& rasters) const {
        std::vector<bool> here(grown.regions.size());
        for (std::size_t tile = 0; tile < grown.map.Tiles(); ++tile) {
            for (std::uint32_t cell = 0; cell < grown.map.CellsIn(tile); ++cell)
                if (const std::int32_t region = grown.map.RegionOf(tile, cell); region != kNoRegion)
                    here[static_cast<std::size_t>(region)] = true;
            for (const SmallPart& part : grown.map.SmallOf(tile))
                here[static_cast<std::size_t>(part.region)] = true;
        }
        std::vector<RegionPoints> points;
        for (std::size_t i = 0; i < here.size(); ++i)
            points.push_back({grown.regions[i].plane.centre, targets.frames[i],
                              here[i] ? rasters[i].Raster() : PlaneRaster(), MomentSum{}});
        return points;
    }

    Expected<void> AssignPiece(std::size_t piece, const parallel::Pool& pool) const {
        const TileRange tiles = task_.Piece(piece);
        const std::vector<bool> around = TilesAround(tiles);
        auto joined = ReadJoined();
        if (!joined) return ErrorOf(joined);
        auto grown = RegionsIn(*joined, [&](std::size_t tile) { return around[tile]; });
        if (!grown) return ErrorOf(grown);
        auto choices = PlaneChoices::OfTiles(grown->map, grown->regions, limits_.distance, pool,
                                             tiles.first, tiles.last);
        if (!choices) return ErrorOf(choices);
        const RegionTargets targets(grown->regions, limits_);
        std::vector<RegionPoints> points = PointsOf(*grown, targets, joined->rasters);
        const CloudRegions regions{plan_.cut, std::move(*grown), std::move(*choices)};
        const std::vector<std::uint32_t> chunks = ChunksOf(plan_.cut, tiles);
        auto sums = SumChunks(core_, regions, targets.heights, pool, chunks, points);
        if (!sums) return ErrorOf(sums);
        TaskWriter writer;
        Encode(chunks, *sums, points, writer);
        return writer.Store(PathOf(fmt::format("points/{}", piece)), key_);
    }

    CString folder_;
    CProjectCore& core_;
    TaskPlan task_;
    SearchPlan plan_;
    GrowthLimits limits_;
    std::uint64_t key_ = 0;
};

PlaneTasks::PlaneTasks(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
PlaneTasks::PlaneTasks(PlaneTasks&&) noexcept = default;
PlaneTasks& PlaneTasks::operator=(PlaneTasks&&) noexcept = default;
PlaneTasks::~PlaneTasks() = default;

CString PlaneTasks::FolderOf(const CString& project) {
    return platform::RemoveExtension(project) + L"_Planes_Tasks";
}

Expected<PlaneTasks> PlaneTasks::Begin(const CString& project, CProjectCore& core,
                                       const PlaneSearchOptions& options, unsigned pieces) {
    auto impl = std::make_unique<Impl>(FolderOf(project), core);
    if (auto done = impl->Begin(options, pieces); !done) return ErrorOf(done);
    return PlaneTasks(std::move(impl));
}

Expected<PlaneTasks> PlaneTasks::Open(const CString& project, CProjectCore& core) {
    auto impl = std::make_unique<Impl>(FolderOf(project), core);
    if (auto done = impl->Open(); !done) return ErrorOf(done);
    return PlaneTasks(std::move(impl));
}

Expected<void> PlaneTasks::Clear(const CString& project) {
    std::error_code error;
    platform::RemoveTree(FolderOf(project), error);
    if (error)
        return FailSystem(error, platform::ToUtf8(FolderOf(project)) + " could not be removed");
    return {};
}

TaskState PlaneTasks::State() const {
    return impl_->State();
}

Expected<void> PlaneTasks::Run(const std::string& name, unsigned threads,
                               const std::function<bool()>& proceed) {
    return impl_->Run(name, threads, proceed);
}

const SearchStages& PlaneTasks::Stages() const {
    return *impl_;
}

}  // namespace orvix::detection
