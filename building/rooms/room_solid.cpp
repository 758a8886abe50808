// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/rooms/room_solid.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <optional>
#include <tuple>

#include "building/plan_length.h"
#include "building/rooms/plan_parts.h"

namespace orvix::building {
namespace {

constexpr double kFloorRange = 0.35;  // of a room's floor around that of its storey
constexpr double kSlopeShare = 0.15;
constexpr double kLeastCover = 0.3;
constexpr double kLeastFace = 0.03;       // share of a room under a face that bounds it
constexpr double kOpenSlack = 0.05;       // metres: how sure a bound is where no wall was seen
constexpr double kSure = 0.001;           // metres: no wall is surer
constexpr double kMostSlopeError = 0.05;  // of the height that the faces' crossings give

/// A face over or under a room, and over how much of it.
struct Cover {
    const LevelPlane* face = nullptr;
    std::size_t cells = 0;
    PlanPoint middle;  ///< of these cells
};

struct Covers {
    std::vector<Cover> faces;  ///< by cells, most first
    std::size_t cells = 0;     ///< of the room
    double height = 0;         ///< mean, over the cells that have a face

    [[nodiscard]] double Share(std::size_t count) const {
        return cells > 0 ? static_cast<double>(count) / static_cast<double>(cells) : 0;
    }
    [[nodiscard]] double Covered() const {
        std::size_t count = 0;
        for (const Cover& cover : faces) count += cover.cells;
        return std::min(1.0, Share(count));
    }
};

void AddTo(std::vector<Cover>& covers, const LevelPlane* face, const PlanPoint& place) {
    auto cover = std::find_if(covers.begin(), covers.end(),
                              [&](const Cover& known) { return known.face == face; });
    if (cover == covers.end()) {
        covers.push_back({face, 0, {}});
        cover = covers.end() - 1;
    }
    ++cover->cells;
    cover->middle = {cover->middle.x + place.x, cover->middle.y + place.y};
}

void Order(Covers& covers) {
    for (Cover& cover : covers.faces) {
        const auto count = static_cast<double>(cover.cells);
        cover.middle = {cover.middle.x / count, cover.middle.y / count};
    }
    std::stable_sort(covers.faces.begin(), covers.faces.end(),
                     [](const Cover& a, const Cover& b) { return a.cells > b.cells; });
}

Covers CeilingsOf(const RoomBounds& bounds) {
    Covers covers;
    const PlanGrid& grid = bounds.cells.grid;
    std::size_t known = 0;
    covers.cells = bounds.cells.BoxOf(bounds.number).cells;
    bounds.cells.ForEachCell(bounds.number, [&](std::int64_t i, std::int64_t j) {
        const PlanPoint place = grid.Middle(i, j);
        const LevelPlane* face = bounds.band.overhead.FaceAt(place);
        if (face == nullptr) return;
        AddTo(covers.faces, face, place);
        covers.height += face->HeightAt(place);
        ++known;
    });
    if (known > 0) covers.height /= static_cast<double>(known);
    Order(covers);
    return covers;
}

Covers FloorsOf(const RoomBounds& bounds, std::size_t cells) {
    Covers covers;
    covers.cells = cells;
    const PlanGrid& grid = bounds.cells.grid;
    for (const LevelPlane& floor : bounds.floors) {
        if (std::abs(floor.HeightAt(floor.rings[0][0]) - bounds.band.storey.elevation) >
            kFloorRange)
            continue;
        ForEachInside(grid, floor.rings, [&](std::int64_t i, std::int64_t j) {
            if (bounds.cells.rooms[grid.At(i, j)] == bounds.number)
                AddTo(covers.faces, &floor, grid.Middle(i, j));
        });
    }
    Order(covers);
    return covers;
}

/// A part of a ceiling: a convex ring of the plan under one face.
struct CeilingPart {
    PlanRing ring;
    const LevelPlane* face = nullptr;
};

// Where each face is the lowest.
std::vector<CeilingPart> CeilingParts(const RoomPlan& plan,
                                      const std::vector<const LevelPlane*>& faces) {
    std::vector<CeilingPart> parts;
    for (const PlanRing& piece : plan.pieces)
        for (std::size_t f = 0; f < faces.size(); ++f) {
            PlanRing ring = piece;
            for (std::size_t g = 0; g < faces.size() && !ring.empty(); ++g) {
                if (g == f) continue;
                const LevelPlane &a = *faces[f], &b = *faces[g];
                // height of a - height of b = x . slope + apart
                const PlanPoint slope{b.normal.x / b.normal.z - a.normal.x / a.normal.z,
                                      b.normal.y / b.normal.z - a.normal.y / a.normal.z};
                const double apart = b.offset / b.normal.z - a.offset / a.normal.z;
                const double steep = PlanLength(slope.x, slope.y);
                if (steep < 1e-6) {
                    if (apart > 0 || (apart == 0 && g < f)) ring.clear();
                    continue;
                }
                ring = PartBehind(ring, {slope.x / steep, slope.y / steep}, -apart / steep);
            }
            if (!ring.empty()) parts.push_back({std::move(ring), faces[f]});
        }
    return parts;
}

PlanPoint Centroid(const PlanRing& ring) {
    double area = 0, x = 0, y = 0;
    for (std::size_t k = 0; k < ring.size(); ++k) {
        const PlanPoint &a = ring[k], &b = ring[k + 1 == ring.size() ? 0 : k + 1];
        const double cross =
            (a.x - ring[0].x) * (b.y - ring[0].y) - (b.x - ring[0].x) * (a.y - ring[0].y);
        area += cross;
        x += cross * (a.x + b.x + ring[0].x);
        y += cross * (a.y + b.y + ring[0].y);
    }
    return area != 0 ? PlanPoint{x / (3 * area), y / (3 * area)} : ring[0];
}

class RoomCloser {
public:
    RoomCloser(const RoomPlan& plan, const RoomBounds& bounds, const std::vector<WallPiece>& walls,
               std::size_t firstWall, const PlaneEvidence& planes)
        : plan_(plan), bounds_(bounds), walls_(walls), firstWall_(firstWall), planes_(planes) {}

    Room Close() {
        room_.plan = plan_.region;
        const Covers ceilings = CeilingsOf(bounds_);
        const Covers floors = FloorsOf(bounds_, ceilings.cells);
        SetFloor(floors);
        double area = AreaOf(room_.plan.outer);
        for (const PlanRing& hole : room_.plan.holes) area += AreaOf(hole);
        area_ = area;
        if (!CloseUnderSlopes(ceilings)) CloseLevel(ceilings);
        Gather(ceilings, floors);
        return std::move(room_);
    }

private:
    void SetFloor(const Covers& floors) {
        room_.floor = bounds_.band.storey.elevation;
        if (floors.Covered() >= kLeastCover || (!floors.faces.empty() && IsWell())) {
            room_.floor = floors.faces[0].face->HeightAt(floors.faces[0].middle);
            used_.push_back(floors.faces[0].face->plane);
        } else {
            inferred_ |= kFloorLevel;
        }
    }
    [[nodiscard]] bool IsWell() const {
        std::size_t open = 0;
        const RoomCells& cells = bounds_.cells;
        cells.ForEachCell(bounds_.number, [&](std::int64_t i, std::int64_t j) {
            open += cells.openAbove[cells.grid.At(i, j)] == RoomCells::kWell;
        });
        return open * 2 > cells.BoxOf(bounds_.number).cells;
    }
    [[nodiscard]] static SimplePointT<double> At(const PlanPoint& p, double z) {
        return {p.x, p.y, z};
    }
    [[nodiscard]] std::optional<std::size_t> WallAt(const PlanPoint& a, const PlanPoint& b) const {
        const PlanPoint middle{(a.x + b.x) / 2, (a.y + b.y) / 2};
        for (const BoundLine& line : plan_.lines) {
            const double along = line.Along(middle);
            if (line.wall && std::abs(line.Before(middle)) < 0.02 && along > line.begin - 0.02 &&
                along < line.end + 0.02)
                return firstWall_ + *line.wall;
        }
        return std::nullopt;
    }
    template <class Top>
    void AddWallFaces(const Top& topOf) {
        const auto add = [&](const PlanRing& ring) {
            for (std::size_t k = 0; k < ring.size(); ++k) {
                const PlanPoint &a = ring[k], &b = ring[k + 1 == ring.size() ? 0 : k + 1];
                RoomFace face;
                face.ring.push_back(At(a, room_.floor));
                for (const SimplePointT<double>& top : topOf(a, b)) face.ring.push_back(top);
                face.ring.push_back(At(b, room_.floor));
                face.wall = WallAt(a, b);
                room_.faces.push_back(std::move(face));
            }
        };
        add(room_.plan.outer);
        for (const PlanRing& hole : room_.plan.holes) add(hole);
    }
    void AddLevelFace(BoundKind kind, double z) {
        RoomFace face;
        face.kind = kind;
        const auto ringAt = [&](const PlanRing& ring) {
            std::vector<SimplePointT<double>> corners;
            for (const PlanPoint& p : ring) corners.push_back(At(p, z));
            if (kind == BoundKind::Ceiling) std::reverse(corners.begin(), corners.end());
            return corners;
        };
        face.ring = ringAt(room_.plan.outer);
        for (const PlanRing& hole : room_.plan.holes) face.holes.push_back(ringAt(hole));
        room_.faces.push_back(std::move(face));
    }
    void CloseLevel(const Covers& ceilings) {
        room_.ceiling = bounds_.band.storey.ceiling;
        if (IsWell()) {
            room_.ceiling = bounds_.above;
            inferred_ |= kCeilingLevel;
        } else if (ceilings.Covered() >= kLeastCover) {
            const Cover& most = ceilings.faces[0];
            room_.ceiling =
                most.face->IsLevel() ? most.face->HeightAt(most.middle) : ceilings.height;
            used_.push_back(most.face->plane);
        } else {
            inferred_ |= kCeilingLevel;
        }
        volume_ = area_ * (room_.ceiling - room_.floor);
        AddLevelFace(BoundKind::Floor, room_.floor);
        AddLevelFace(BoundKind::Ceiling, room_.ceiling);
        AddWallFaces([&](const PlanPoint& a, const PlanPoint& b) {
            return std::array{At(a, room_.ceiling), At(b, room_.ceiling)};
        });
    }
    [[nodiscard]] bool CloseUnderSlopes(const Covers& ceilings) {
        std::size_t sloping = 0;
        std::vector<const LevelPlane*> faces;
        for (const Cover& cover : ceilings.faces) {
            if (!cover.face->IsLevel()) sloping += cover.cells;
            if (ceilings.Share(cover.cells) >= kLeastFace) faces.push_back(cover.face);
        }
        if (ceilings.Share(sloping) < kSlopeShare || faces.empty()) return false;
        const std::vector<CeilingPart> parts = CeilingParts(plan_, faces);
        double volume = 0, highest = room_.floor;
        for (const CeilingPart& part : parts) {
            volume += AreaOf(part.ring) * (part.face->HeightAt(Centroid(part.ring)) - room_.floor);
            for (const PlanPoint& p : part.ring)
                highest = std::max(highest, part.face->HeightAt(p));
        }
        const double expected = area_ * (ceilings.height - room_.floor);
        if (std::abs(volume - expected) > kMostSlopeError * expected) return false;
        for (const LevelPlane* face : faces) used_.push_back(face->plane);
        volume_ = volume;
        room_.ceiling = highest;
        AddLevelFace(BoundKind::Floor, room_.floor);
        for (const CeilingPart& part : parts) {
            RoomFace face;
            face.kind = BoundKind::Ceiling;
            for (auto p = part.ring.rbegin(); p != part.ring.rend(); ++p)
                face.ring.push_back(At(*p, part.face->HeightAt(*p)));
            room_.faces.push_back(std::move(face));
        }
        AddWallFaces(
            [&](const PlanPoint& a, const PlanPoint& b) { return RimOver(a, b, parts, faces); });
        return true;
    }
    // The ceiling's rim over a side of the plan: its ends, and where parts of the ceiling meet.
    [[nodiscard]] static std::vector<SimplePointT<double>> RimOver(
        const PlanPoint& a, const PlanPoint& b, const std::vector<CeilingPart>& parts,
        const std::vector<const LevelPlane*>& faces) {
        const double length = PlanLength(b.x - a.x, b.y - a.y);
        const PlanPoint way{(b.x - a.x) / length, (b.y - a.y) / length};
        std::vector<double> places{0, length};
        for (const CeilingPart& part : parts)
            for (const PlanPoint& p : part.ring) {
                const double along = (p.x - a.x) * way.x + (p.y - a.y) * way.y;
                const double aside = (p.y - a.y) * way.x - (p.x - a.x) * way.y;
                if (std::abs(aside) < 1e-5 && along > 1e-5 && along < length - 1e-5)
                    places.push_back(along);
            }
        std::sort(places.begin(), places.end());
        std::vector<SimplePointT<double>> rim;
        double last = -1;
        for (const double along : places) {
            if (along - last < 1e-5) continue;
            last = along;
            const PlanPoint p{a.x + along * way.x, a.y + along * way.y};
            double z = faces[0]->HeightAt(p);
            for (const LevelPlane* face : faces) z = std::min(z, face->HeightAt(p));
            rim.push_back(At(p, z));
        }
        return rim;
    }
    void Gather(const Covers& ceilings, const Covers& floors) {
        double perimeter = 0;
        const auto add = [&](const PlanRing& ring) {
            for (std::size_t k = 0; k < ring.size(); ++k) {
                const PlanPoint &a = ring[k], &b = ring[k + 1 == ring.size() ? 0 : k + 1];
                perimeter += PlanLength(b.x - a.x, b.y - a.y);
            }
        };
        add(room_.plan.outer);
        for (const PlanRing& hole : room_.plan.holes) add(hole);
        const double vertical = std::max(kSure, planes_.Scatter(used_));
        std::vector<std::size_t> upright;
        for (const BoundLine& line : plan_.lines)
            if (line.wall)
                for (const std::size_t p : PlanesOf(line)) upright.push_back(p);
        const double across = std::max(kSure, planes_.Scatter(upright));
        const double slack = (perimeter - plan_.open) * across / 2 + plan_.open * kOpenSlack;
        const double height = room_.ceiling - room_.floor;
        room_.area = {area_, area_ - slack, area_ + slack};
        room_.height = {height, height - vertical, height + vertical};
        const double volumeSlack = slack * height + area_ * vertical;
        room_.volume = {volume_, volume_ - volumeSlack, volume_ + volumeSlack};
        upright.insert(upright.end(), used_.begin(), used_.end());
        room_.evidence = planes_.Of(std::move(upright));
        room_.evidence.seen = (ceilings.Covered() + floors.Covered()) / 2;
        if (plan_.open > 0.1) inferred_ |= kOpenBound;
        room_.evidence.inferred = inferred_;
        AddStandingStations();
    }
    [[nodiscard]] std::vector<std::size_t> PlanesOf(const BoundLine& line) const {
        const WallPiece& wall = walls_[*line.wall];
        const bool front =
            line.normal.x * wall.face.normal.x + line.normal.y * wall.face.normal.y > 0;
        const std::size_t face = front ? wall.run.face : wall.run.other.value_or(wall.run.face);
        return planes_.Scan().faces.lines[face].planes;
    }
    void AddStandingStations() {
        const PlanGrid& grid = bounds_.cells.grid;
        auto& stations = room_.evidence.stations;
        for (const ScanStation& station : planes_.Scan().stations) {
            const PlanPoint place{station.position.x, station.position.y};
            if (!grid.Holds(place) || station.position.z < room_.floor ||
                station.position.z > room_.ceiling)
                continue;
            if (bounds_.cells.rooms[grid.At(grid.Column(place.x), grid.Row(place.y))] ==
                bounds_.number)
                stations.push_back(station.number);
        }
        std::sort(stations.begin(), stations.end());
        stations.erase(std::unique(stations.begin(), stations.end()), stations.end());
    }

    const RoomPlan& plan_;
    const RoomBounds& bounds_;
    const std::vector<WallPiece>& walls_;
    std::size_t firstWall_;
    const PlaneEvidence& planes_;
    Room room_;
    double area_ = 0;
    double volume_ = 0;
    std::uint32_t inferred_ = 0;
    std::vector<std::size_t> used_;  // planes of floor and ceiling
};

}  // namespace

Room CloseRoom(const RoomPlan& plan, const RoomBounds& bounds, const std::vector<WallPiece>& walls,
               std::size_t firstWall, const PlaneEvidence& planes) {
    return RoomCloser(plan, bounds, walls, firstWall, planes).Close();
}

}  // namespace orvix::building
