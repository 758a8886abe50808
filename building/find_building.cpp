// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/find_building.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>

#include "building/openings/find_openings.h"
#include "building/rooms/room_plan.h"
#include "building/scan_evidence.h"
#include "building/storeys/find_storeys.h"
#include "building/walls/wall_pieces.h"
#include "detection/plane_set.h"

namespace orvix::building {
namespace {

constexpr double kFarUp = 15;  // above the highest floor
constexpr double kFarDown = 1e9;

Measure Exactly(double value) {
    return {value, value, value};
}

/// Finds a building, storey by storey.
class BuildingFinder {
public:
    BuildingFinder(const ScanEvidence& evidence, const parallel::Pool& pool)
        : evidence_(evidence), pool_(pool), levels_(LevelPlanesOf(evidence.planes)) {
        found_.stationsKnown = !evidence.stations.empty();
    }

    Building Find() {
        found_.storeys = FindStoreys(levels_, evidence_.planes, found_.remarks);
        for (std::size_t s = 0; s < found_.storeys.size(); ++s) FindStorey(s);
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
    void FindStorey(std::size_t s) {
        const StoreyBand band = BandOf(s);
        const FaceLines& faces = evidence_.faces;
        const std::vector<WallPiece> pieces = JoinRuns(FindWallRuns(faces, evidence_, band), faces);
        for (const WallPiece& piece : pieces) AddWall(s, piece, band);
        const std::vector<OpenBound> bounds = OpenBoundsOf(pieces);
        const RoomCells cells = FindRoomCells(pieces, bounds, evidence_, band, pool_);
        const double slab = std::min(band.next, band.storey.ceiling + 2);
        const std::vector<BoundLine> lines =
            BoundLinesOf(pieces, bounds, faces.lines, band.storey.ceiling - 0.05, slab + 0.05);
        std::size_t number = 0;
        for (std::size_t r = 0; r < cells.count; ++r)
            if (const auto plan = DrawRoom(cells, static_cast<std::int32_t>(r), lines))
                AddRoom(s, *plan, band, ++number);
    }
    void AddWall(std::size_t s, const WallPiece& piece, const StoreyBand& band) {
        Wall wall;
        wall.storey = s;
        wall.axis = {piece.Middle(piece.run.begin), piece.Middle(piece.run.end)};
        if (piece.run.other) wall.thickness = Exactly(piece.run.thickness);
        wall.base = band.storey.elevation;
        wall.top = std::min(band.next, band.storey.ceiling);
        wall.profile = {
            {0, wall.base}, {piece.Length(), wall.base}, {piece.Length(), wall.top}, {0, wall.top}};
        wall.leftSeen = true;
        wall.rightSeen = piece.run.other.has_value();
        found_.walls.push_back(wall);
        if (!piece.run.other) return;
        const WallView view = ViewOf(piece, evidence_.faces, evidence_, wall.base, wall.top);
        for (Opening& opening : FindOpenings(view, piece, wall.base, wall.top)) {
            opening.wall = found_.walls.size() - 1;
            found_.openings.push_back(opening);
        }
    }
    void AddRoom(std::size_t s, const RoomPlan& plan, const StoreyBand& band, std::size_t number) {
        Room room;
        room.name = fmt::format("Room {}.{}", s + 1, number);
        room.storey = s;
        room.plan = plan.region;
        room.floor = band.storey.elevation;
        room.ceiling = band.storey.ceiling;
        double area = AreaOf(room.plan.outer);
        for (const PlanRing& hole : room.plan.holes) area += AreaOf(hole);
        room.area = Exactly(area);
        room.height = Exactly(room.ceiling - room.floor);
        room.volume = Exactly(area * (room.ceiling - room.floor));
        found_.rooms.push_back(room);
    }

    const ScanEvidence& evidence_;
    const parallel::Pool& pool_;
    LevelPlanes levels_;
    Building found_;
};

}  // namespace

Expected<Building> FindBuilding(CProjectCore& core, const detection::PlaneSet& planes,
                                const BuildingOptions& options) {
    const parallel::Pool pool(options.threads, options.proceed,
                              "the search for a building was cancelled");
    const auto evidence = GatherEvidence(core, planes, options, pool);
    if (!evidence) return ErrorOf(evidence);
    return BuildingFinder(*evidence, pool).Find();
}

}  // namespace orvix::building
