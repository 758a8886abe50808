// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/find_building.h"

#include <fmt/format.h>

#include <algorithm>
#include <new>
#include <numeric>
#include <tuple>
#include <utility>

#include "building/openings/door_leaves.h"
#include "building/openings/find_openings.h"
#include "building/plane_evidence.h"
#include "building/roofs/find_roofs.h"
#include "building/rooms/room_solid.h"
#include "building/slabs/find_slabs.h"
#include "building/storeys/find_storeys.h"
#include "building/wall_elements.h"
#include "building/wall_frame.h"
#include "detection/plane_set.h"

namespace orvix::building {
namespace {

constexpr double kFarUp = 15;  // above the highest floor
constexpr double kFarDown = 1e9;
constexpr const char* kCancelled = "the search for a building was cancelled";
constexpr double kFineCell = 0.051;
constexpr double kRoofAbove = 1;  // metres above the highest floor

/// How much is done: the points are read first, then comes storey after storey.
class FindingProgress {
public:
    FindingProgress(const BuildingOptions& options, std::size_t chunks)
        : options_(options), chunks_(chunks) {}
    bool Report(std::uint64_t jobsDone) {
        const double read =
            chunks_ == 0
                ? 1
                : std::min(1.0, static_cast<double>(jobsDone) / static_cast<double>(chunks_));
        done_ = std::max(done_, kReading * read);
        if (options_.progress) options_.progress(done_);
        return !options_.proceed || options_.proceed();
    }
    /// `share` of the work that follows the reading is done.
    void Found(double share) {
        done_ = std::max(done_, kReading + (1 - kReading) * share);
        if (options_.progress) options_.progress(done_);
    }

private:
    static constexpr double kReading = 0.5;
    const BuildingOptions& options_;
    std::size_t chunks_;
    double done_ = 0;
};

/// Finds a building, storey by storey.
class BuildingFinder {
public:
    BuildingFinder(const ScanEvidence& scan, const PlaneEvidence& planes,
                   const parallel::Pool& pool, FindingProgress& progress)
        : scan_(scan),
          planes_(planes),
          pool_(pool),
          progress_(progress),
          levels_(LevelPlanesOf(scan.planes, scan.stations.empty())) {
        found_.stationsKnown = !scan.stations.empty();
    }

    Expected<Building> Find() {
        found_.storeys = FindStoreys(levels_, scan_.planes, found_.remarks);
        for (std::size_t s = 0; s < found_.storeys.size(); ++s) {
            if (auto done = FindStorey(s); !done) return ErrorOf(done);
            progress_.Found(static_cast<double>(s + 1) /
                            static_cast<double>(found_.storeys.size() + 1));
        }
        found_.slabs = FindSlabs(found_.storeys, plans_, levels_, planes_);
        const double highest = found_.storeys.empty() ? -kFarDown : found_.storeys.back().elevation;
        if (!found_.stationsKnown)
            levels_.lowerSlopes.clear();  // they are the upper ones once more
        Roofs roofs = FindRoofs(levels_, highest + kRoofAbove, planes_);
        found_.slopes = std::move(roofs.slopes);
        for (std::size_t i = 0; i < highest_.pieces.size(); ++i)
            EndUnderRoof(highest_.pieces[i], found_.slopes, scan_,
                         found_.walls[highest_.first + i]);
        found_.edges = std::move(roofs.edges);
        Remark();
        progress_.Found(1);
        return std::move(found_);
    }

private:
    [[nodiscard]] StoreyBand BandOf(std::size_t s) const {
        const std::vector<Storey>& storeys = found_.storeys;
        const double next =
            s + 1 < storeys.size() ? storeys[s + 1].elevation : storeys[s].elevation + kFarUp;
        const double below = s > 0 ? storeys[s - 1].ceiling : -kFarDown;
        return {storeys[s], next, below, OverheadMap(levels_, storeys[s], next)};
    }
    Expected<void> FindStorey(std::size_t s) {
        const StoreyBand band = BandOf(s);
        const FaceLines& faces = scan_.faces;
        const std::vector<WallPiece> pieces =
            Ordered(JoinRuns(FindWallRuns(faces, scan_, band), faces));
        const std::vector<OpenBound> bounds = OpenBoundsOf(pieces);
        if (!pool_.Proceed()) return Fail(ErrorCode::Cancelled, kCancelled);
        auto cells = FindRoomCells(pieces, bounds, scan_, band, pool_);
        if (!cells) return ErrorOf(cells);
        std::vector<BoundLine> lines = BoundLinesOf(pieces, bounds);
        AddSlabEdges(faces.lines, band.storey.ceiling, band.next, pieces, lines);
        AddSlabEdges(faces.lines, band.below, band.storey.elevation, pieces, lines);
        auto views = LookAt(pieces, band);
        if (!views) return ErrorOf(views);
        if (!pool_.Proceed()) return Fail(ErrorCode::Cancelled, kCancelled);
        std::vector<std::int32_t> places(cells->count, -1);
        AddRooms(s, *cells, band, pieces, lines, places);
        for (std::size_t i = 0; i < pieces.size(); ++i)
            AddWall(s, pieces[i], (*views)[i], band, *cells, places);
        coarsest_ = std::max(coarsest_, cells->grid.cell);
        highest_ = {pieces, found_.walls.size() - pieces.size()};
        plans_.push_back({std::move(*cells), std::move(lines)});
        return {};
    }
    // By the smallest x, then y, of the wall's plan.
    static std::vector<WallPiece> Ordered(std::vector<WallPiece> pieces) {
        const auto key = [](const WallPiece& piece) {
            const PlanPoint a = piece.Middle(piece.run.begin), b = piece.Middle(piece.run.end);
            return std::tuple(std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.x, b.x),
                              std::max(a.y, b.y));
        };
        std::stable_sort(pieces.begin(), pieces.end(),
                         [&](const WallPiece& a, const WallPiece& b) { return key(a) < key(b); });
        return pieces;
    }
    Expected<std::vector<WallView>> LookAt(const std::vector<WallPiece>& pieces,
                                           const StoreyBand& band) const {
        std::vector<WallView> views(pieces.size());
        const double top = std::min(band.next, band.storey.ceiling);
        auto done = pool_.RunJobs(pieces.size(), [&](std::size_t i, unsigned) -> Expected<void> {
            views[i] = ViewOf(pieces[i], scan_.faces, scan_, band.storey.elevation, top);
            return {};
        });
        if (!done) return ErrorOf(done);
        return views;
    }
    void AddRooms(std::size_t s, const RoomCells& cells, const StoreyBand& band,
                  const std::vector<WallPiece>& pieces, const std::vector<BoundLine>& lines,
                  std::vector<std::int32_t>& places) {
        const double above =
            s + 1 < found_.storeys.size() ? found_.storeys[s + 1].ceiling : band.storey.ceiling;
        std::vector<std::pair<Room, std::size_t>> rooms;
        for (std::size_t r = 0; r < cells.count; ++r) {
            const auto number = static_cast<std::int32_t>(r);
            const auto plan = DrawRoom(cells, number, lines);
            if (!plan) continue;
            const RoomBounds bounds{cells, number, band, levels_.floors, above};
            rooms.emplace_back(CloseRoom(*plan, bounds, pieces, found_.walls.size(), planes_), r);
        }
        const auto key = [](const Room& room) {
            PlanPoint low = room.plan.outer[0];
            for (const PlanPoint& p : room.plan.outer)
                low = {std::min(low.x, p.x), std::min(low.y, p.y)};
            return std::pair(low.x, low.y);
        };
        std::stable_sort(rooms.begin(), rooms.end(),
                         [&](const auto& a, const auto& b) { return key(a.first) < key(b.first); });
        for (std::size_t k = 0; k < rooms.size(); ++k) {
            rooms[k].first.name = fmt::format("Room {}.{}", s + 1, k + 1);
            rooms[k].first.storey = s;
            places[rooms[k].second] = static_cast<std::int32_t>(found_.rooms.size());
            found_.rooms.push_back(std::move(rooms[k].first));
        }
    }
    void AddWall(std::size_t s, const WallPiece& piece, WallView& view, const StoreyBand& band,
                 const RoomCells& cells, const std::vector<std::int32_t>& places) {
        const bool highest = s + 1 == found_.storeys.size();
        Wall wall = WallOf(piece, band, SidesOf(piece, cells), highest, planes_);
        wall.storey = s;
        CutView(view, wall.profile);
        std::vector<Opening> openings;
        if (piece.run.other)
            openings = FindOpenings(view, piece, band.storey.elevation,
                                    std::min(band.next, band.storey.ceiling));
        AddSeen(view, openings, wall.evidence);
        for (Opening& opening : openings) {
            opening.wall = found_.walls.size();
            const double along = piece.run.begin + opening.along;
            opening.rooms = {
                RoomAt(piece.face.At(along, -piece.run.thickness - kBeside), cells, places),
                RoomAt(piece.face.At(along, kBeside), cells, places)};
            opening.evidence.stations = wall.evidence.stations;
            opening.evidence.seen = 1 - opening.hidden - opening.unknown;
            opening.evidence.hidden = opening.hidden;
            opening.evidence.inferred = kKindBySize;
            FindLeaf(wall, planes_, opening);
            found_.openings.push_back(std::move(opening));
        }
        found_.walls.push_back(std::move(wall));
    }
    [[nodiscard]] static std::optional<std::size_t> RoomAt(
        const PlanPoint& place, const RoomCells& cells, const std::vector<std::int32_t>& places) {
        if (cells.grid.Size() == 0 || !cells.grid.Holds(place)) return std::nullopt;
        const std::int32_t room =
            cells.rooms[cells.grid.At(cells.grid.Column(place.x), cells.grid.Row(place.y))];
        if (room < 0 || places[static_cast<std::size_t>(room)] < 0) return std::nullopt;
        return static_cast<std::size_t>(places[static_cast<std::size_t>(room)]);
    }
    void Remark() {
        if (scan_.squared.turned > 0)
            found_.remarks.push_back(
                fmt::format("{} faces of walls were turned to be square to the greater part; their "
                            "ends moved by up to "
                            "{:.1f} mm.",
                            scan_.squared.turned, scan_.squared.moved * 1000));
        if (!found_.stationsKnown)
            found_.remarks.emplace_back(
                "The project has no positions of scanners: rooms are what lies under ceilings "
                "between "
                "walls, and openings are not known.");
        if (coarsest_ > kFineCell)
            found_.remarks.push_back(
                fmt::format("The building is so wide that its plans were looked at in squares of "
                            "{:.2f} m: what is "
                            "narrower may be missing.",
                            coarsest_));
        if (found_.storeys.empty())
            found_.remarks.emplace_back(
                "No floor of 4 square metres was seen: there are no storeys.");
        else if (found_.walls.empty())
            found_.remarks.emplace_back(
                "No upright faces reach up to a ceiling: there are no walls.");
        else if (found_.rooms.empty())
            found_.remarks.emplace_back(
                "No open space under a ceiling lies between walls: there are no rooms.");
    }

    static constexpr double kBeside =
        0.12;  // metres from a face to the cells of the room before it

    const ScanEvidence& scan_;
    const PlaneEvidence& planes_;
    const parallel::Pool& pool_;
    FindingProgress& progress_;
    LevelPlanes levels_;
    std::vector<StoreyPlan> plans_;
    struct StoreyWalls {
        std::vector<WallPiece> pieces;
        std::size_t first = 0;  // the place of their first wall
    };
    StoreyWalls highest_;  // of the storey that was found last
    double coarsest_ = 0;  // squares of the plans
    Building found_;
};

}  // namespace

Expected<Building> FindBuilding(CProjectCore& core, const detection::PlaneSet& planes,
                                const BuildingOptions& options) {
    try {
        FindingProgress progress(options, planes.Chunks());
        const parallel::Pool pool(
            options.threads, [&] { return progress.Report(pool.JobsDone()); }, kCancelled);
        const auto scan = GatherEvidence(
            core, planes, {options.stations, options.memoryLimitBytes, options.orthogonal}, pool);
        if (!scan) return ErrorOf(scan);
        const PlaneEvidence evidence(*scan, planes.Numbers());
        return BuildingFinder(*scan, evidence, pool, progress).Find();
    } catch (const std::bad_alloc&) {
        return Fail(ErrorCode::NoMemory, "there is not enough memory to find the building");
    }
}

}  // namespace orvix::building
