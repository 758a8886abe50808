// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/building/found_house.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <initializer_list>

#include "building/building_words.h"
#include "building/wall_frame.h"

namespace orvix::building {
namespace {

constexpr double kOnLine = 0.005;

double Away(const PlanPoint& a, const PlanPoint& b) {
    return std::hypot(a.x - b.x, a.y - b.y);
}

bool Holds(const PlanRing& ring, const PlanPoint& p) {
    bool inside = false;
    for (std::size_t k = 0; k < ring.size(); ++k) {
        const PlanPoint &a = ring[k], &b = ring[(k + 1) % ring.size()];
        if ((a.y > p.y) == (b.y > p.y)) continue;
        if (a.x + (b.x - a.x) * (p.y - a.y) / (b.y - a.y) > p.x) inside = !inside;
    }
    return inside;
}

class Fingerprint {
public:
    void Add(std::initializer_list<double> values) { all.insert(all.end(), values); }
    void Add(const Measure& measure) { Add({measure.value, measure.low, measure.high}); }
    void Add(const std::optional<Measure>& measure) { Add(measure.value_or(Measure{-1, -1, -1})); }
    void Add(const PlanRing& ring) {
        for (const PlanPoint& p : ring) Add({p.x, p.y});
    }
    void Add(const PlanRegion& region) {
        Add(region.outer);
        for (const PlanRing& hole : region.holes) Add(hole);
    }
    void Add(const std::vector<SimplePointT<double>>& ring) {
        for (const auto& p : ring) Add({p.x, p.y, p.z});
    }
    void Add(const Evidence& evidence) {
        Add({evidence.seen, evidence.hidden, static_cast<double>(evidence.points), evidence.rms,
             evidence.tolerance, static_cast<double>(evidence.inferred)});
        all.insert(all.end(), evidence.stations.begin(), evidence.stations.end());
        all.insert(all.end(), evidence.planes.begin(), evidence.planes.end());
    }

    std::vector<double> all;
};

}  // namespace

PlanRing FoundHouse::Ring(const PlanRing& ring) const {
    PlanRing back;
    for (const PlanPoint& p : ring) back.push_back(project.Back(p));
    return back;
}

const Wall* FoundHouse::WallAlong(std::size_t storey, const PlanPoint& from, const PlanPoint& to,
                                  double slack) const {
    const double length = Away(from, to);
    const PlanPoint way{(to.x - from.x) / length, (to.y - from.y) / length};
    for (const Wall& wall : building.walls) {
        if (wall.storey != storey) continue;
        const PlanPoint a = project.Back(wall.axis[0]), b = project.Back(wall.axis[1]);
        const auto aside = [&](const PlanPoint& p) {
            return std::abs((p.x - from.x) * way.y - (p.y - from.y) * way.x);
        };
        const auto along = [&](const PlanPoint& p) {
            return (p.x - from.x) * way.x + (p.y - from.y) * way.y;
        };
        if (aside(a) < kOnLine && aside(b) < kOnLine &&
            std::abs(std::min(along(a), along(b))) < slack &&
            std::abs(std::max(along(a), along(b)) - length) < slack)
            return &wall;
    }
    ADD_FAILURE() << fmt::format("no wall from ({}, {}) to ({}, {})\n", from.x, from.y, to.x, to.y)
                  << Words();
    return nullptr;
}

const Room* FoundHouse::RoomAt(std::size_t storey, const PlanPoint& place) const {
    for (const Room& room : building.rooms) {
        bool inside = Holds(Ring(room.plan.outer), place);
        for (const PlanRing& hole : room.plan.holes) inside = inside && !Holds(Ring(hole), place);
        if (room.storey == storey && inside) return &room;
    }
    ADD_FAILURE() << fmt::format("no room at ({}, {})\n", place.x, place.y) << Words();
    return nullptr;
}

const Opening* FoundHouse::OpeningAt(const PlanPoint& middle, double bottom, double width,
                                     double height, double slack) const {
    for (const Opening& opening : building.openings) {
        const auto place =
            project.Back(PlaceIn(building.walls[opening.wall], opening.along, 0, opening.bottom));
        const double away = Away({place.x, place.y}, middle);
        if (away > 1 || std::abs(place.z - bottom) > slack) continue;
        const double side = std::abs(opening.width.value - width) / 2;
        if (away + side <= slack &&
            std::abs(place.z + opening.height.value - bottom - height) <= slack)
            return &opening;
    }
    ADD_FAILURE() << fmt::format("no opening at ({}, {}), {} by {} over {}\n", middle.x, middle.y,
                                 width, height, bottom)
                  << Words();
    return nullptr;
}

std::string FoundHouse::Words() const {
    std::string text;
    for (const std::string& remark : building.remarks) text += "remark: " + remark + "\n";
    for (const Storey& storey : building.storeys)
        text += fmt::format("{}: {:.4f} to {:.4f}\n", storey.name, Height(storey.elevation),
                            Height(storey.ceiling));
    for (const Wall& wall : building.walls) {
        const PlanPoint a = project.Back(wall.axis[0]), b = project.Back(wall.axis[1]);
        text += fmt::format(
            "wall of storey {} from ({:.3f}, {:.3f}) to ({:.3f}, {:.3f}), thickness {:.4f}, {:.3f} "
            "to {:.3f}, {}, deviation {:.4f}, seen {:.2f}, inferred {}\n",
            wall.storey, a.x, a.y, b.x, b.y, wall.thickness.value_or(Measure{-1, 0, 0}).value,
            Height(wall.base), Height(wall.top), wall.external ? "outer" : "inner", wall.deviation,
            wall.evidence.seen, fmt::join(WordsOf(wall.evidence.inferred), ", "));
    }
    for (const Opening& opening : building.openings) {
        const auto place =
            project.Back(PlaceIn(building.walls[opening.wall], opening.along, 0, opening.bottom));
        text +=
            fmt::format("{} {} at ({:.3f}, {:.3f}), {:.3f} by {:.3f} over {:.3f}, free {:.2f}\n",
                        WordOf(opening.state), WordOf(opening.kind), place.x, place.y,
                        opening.width.value, opening.height.value, place.z, opening.free);
    }
    for (const Room& room : building.rooms) {
        text += fmt::format("{}: {:.4f} m2, {:.4f} m high, {:.3f} m3, inferred {}:", room.name,
                            room.area.value, room.height.value, room.volume.value,
                            fmt::join(WordsOf(room.evidence.inferred), ", "));
        for (const PlanPoint& p : Ring(room.plan.outer))
            text += fmt::format(" ({:.3f}, {:.3f})", p.x, p.y);
        text += "\n";
    }
    for (const RoofSlope& slope : building.slopes)
        text += fmt::format("slope of {:.3f} m2, thickness {:.4f}\n", slope.area,
                            slope.thickness.value_or(Measure{-1, 0, 0}).value);
    return text;
}

bool SameCorners(const PlanRing& a, const PlanRing& b, double near) {
    const auto among = [near](const PlanRing& ring, const PlanPoint& p) {
        return std::any_of(ring.begin(), ring.end(),
                           [&](const PlanPoint& q) { return Away(p, q) <= near; });
    };
    return a.size() == b.size() &&
           std::all_of(a.begin(), a.end(), [&](const PlanPoint& p) { return among(b, p); }) &&
           std::all_of(b.begin(), b.end(), [&](const PlanPoint& p) { return among(a, p); });
}

std::vector<double> FingerprintOf(const Building& building) {
    Fingerprint print;
    for (const Storey& storey : building.storeys) print.Add({storey.elevation, storey.ceiling});
    for (const Slab& slab : building.slabs) {
        for (const PlanRegion& region : slab.regions) print.Add(region);
        print.Add(slab.top);
        print.Add(slab.bottom);
        print.Add(slab.thickness);
        print.Add(slab.evidence);
    }
    for (const Wall& wall : building.walls) {
        print.Add({wall.axis[0].x, wall.axis[0].y, wall.axis[1].x, wall.axis[1].y, wall.base,
                   wall.top, wall.deviation, wall.external ? 1.0 : 0.0});
        print.Add(wall.thickness);
        print.Add(wall.profile);
        print.Add(wall.evidence);
    }
    for (const Opening& opening : building.openings) {
        print.Add({static_cast<double>(opening.kind), static_cast<double>(opening.state),
                   static_cast<double>(opening.wall), opening.along, opening.bottom, opening.free,
                   opening.hidden, opening.unknown});
        print.Add(opening.width);
        print.Add(opening.height);
    }
    for (const Room& room : building.rooms) {
        print.Add(room.plan);
        print.Add({room.floor, room.ceiling});
        print.Add(room.area);
        print.Add(room.height);
        print.Add(room.volume);
        for (const RoomFace& face : room.faces) {
            print.Add(face.ring);
            print.Add({static_cast<double>(face.kind), static_cast<double>(face.wall.value_or(0))});
        }
        print.Add(room.evidence);
    }
    for (const RoofSlope& slope : building.slopes) {
        print.Add({slope.normal.x, slope.normal.y, slope.normal.z, slope.offset, slope.area});
        print.Add(slope.outline);
        print.Add(slope.thickness);
        print.Add(slope.evidence);
    }
    for (const RoofEdge& edge : building.edges)
        print.Add({edge.ends[0].x, edge.ends[0].y, edge.ends[0].z, edge.ends[1].x, edge.ends[1].y,
                   edge.ends[1].z});
    return print.all;
}

}  // namespace orvix::building
