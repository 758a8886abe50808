// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/building/building_json.h"

#include <nlohmann/json.hpp>

#include <cmath>

#include "building/building_words.h"
#include "building/wall_frame.h"
#include "orvix/geometry/vector.h"

namespace orvix::output {

namespace {

using building::Building, building::Evidence, building::Measure, building::PlanRegion,
    building::PlanRing, building::Room, building::Slab, building::WordOf;
using detail::Vector, detail::operator-, detail::operator*;
using Json = nlohmann::ordered_json;

Json JsonOf(const Measure& measure) {
    return Json{{"value", measure.value}, {"low", measure.low}, {"high", measure.high}};
}

// A number under its own name, as simple readers want it, and its bounds beside it.
void AddMeasure(Json& json, const std::string& name, const Measure& measure) {
    json[name] = measure.value;
    json[name + "Low"] = measure.low;
    json[name + "High"] = measure.high;
}

Json JsonOf(const Evidence& evidence) {
    return Json{
        {"seen", evidence.seen},           {"hidden", evidence.hidden},
        {"points", evidence.points},       {"rms", evidence.rms},
        {"tolerance", evidence.tolerance}, {"stations", evidence.stations},
        {"planes", evidence.planes},       {"inferred", building::WordsOf(evidence.inferred)}};
}

Json NumberOf(const std::optional<std::size_t>& place) {
    return place ? Json(*place + 1) : Json();
}

class BuildingJson {
public:
    BuildingJson(const Building& building, const detail::LocalToWorld& frame)
        : building_(building), frame_(frame) {}

    [[nodiscard]] Json All() const {
        Json json;
        for (const char* list :
             {"walls", "faces", "rooms", "openings", "slabs", "slopes", "edges", "storeys"})
            json[list] = Json::array();
        for (std::size_t i = 0; i < building_.walls.size(); ++i)
            json[building_.walls[i].thickness ? "walls" : "faces"].push_back(Wall(i));
        for (std::size_t i = 0; i < building_.rooms.size(); ++i) json["rooms"].push_back(RoomOf(i));
        for (std::size_t i = 0; i < building_.openings.size(); ++i)
            json["openings"].push_back(Opening(i));
        for (std::size_t i = 0; i < building_.slabs.size(); ++i) json["slabs"].push_back(SlabOf(i));
        for (std::size_t i = 0; i < building_.slopes.size(); ++i)
            json["slopes"].push_back(Slope(i));
        for (const building::RoofEdge& edge : building_.edges)
            json["edges"].push_back({{"kind", WordOf(edge.kind)},
                                     {"slopes", {edge.slopes[0] + 1, edge.slopes[1] + 1}},
                                     {"ends", {Place(edge.ends[0]), Place(edge.ends[1])}}});
        for (const building::Storey& storey : building_.storeys)
            json["storeys"].push_back({{"name", storey.name},
                                       {"elevation", Height(storey.elevation)},
                                       {"ceiling", Height(storey.ceiling)}});
        json["stationsKnown"] = building_.stationsKnown;
        json["remarks"] = building_.remarks;
        return json;
    }

private:
    [[nodiscard]] Json Place(const Vector& p) const {
        const Vector w = frame_.ToWorld(p);
        return Json::array({w.x, w.y, w.z});
    }
    [[nodiscard]] Json Plan(double x, double y, double z) const {
        const Vector w = frame_.ToWorld(Vector{x, y, z});
        return Json::array({w.x, w.y});
    }
    [[nodiscard]] Json Plan(const PlanRing& ring, double z) const {
        Json json = Json::array();
        for (const auto& p : ring) json.push_back(Plan(p.x, p.y, z));
        return json;
    }
    // The outer ring, then the holes.
    [[nodiscard]] Json Plan(const PlanRegion& region, double z) const {
        Json json = Json::array({Plan(region.outer, z)});
        for (const PlanRing& hole : region.holes) json.push_back(Plan(hole, z));
        return json;
    }
    // Over the project's zero; of a frame that is not upright, an element's heights are over it.
    [[nodiscard]] double Height(double z, double x = 0, double y = 0) const {
        return frame_.ToWorld(Vector{x, y, z}).z;
    }
    [[nodiscard]] Vector Turned(const Vector& direction) const {
        return detail::Unit(frame_.ToWorld(direction) - frame_.Origin());
    }

    [[nodiscard]] Json Wall(std::size_t place) const;
    [[nodiscard]] Json RoomOf(std::size_t place) const;
    [[nodiscard]] Json Opening(std::size_t place) const;
    [[nodiscard]] Json SlabOf(std::size_t place) const;
    [[nodiscard]] Json Slope(std::size_t place) const;
    [[nodiscard]] double FloorBeside(const building::Opening& opening) const;

    const Building& building_;
    const detail::LocalToWorld& frame_;
};

Json BuildingJson::Wall(std::size_t place) const {
    const building::Wall& wall = building_.walls[place];
    const auto& [from, to] = wall.axis;
    Json json{{"number", place + 1},
              {"storey", wall.storey + 1},
              {"axis", {Plan(from.x, from.y, wall.base), Plan(to.x, to.y, wall.base)}}};
    if (wall.thickness) AddMeasure(json, "thickness", *wall.thickness);
    json["base"] = Height(wall.base, from.x, from.y);
    json["top"] = Height(wall.top, from.x, from.y);
    json["profile"] = Json::array();
    for (const auto& p : wall.profile)
        json["profile"].push_back({p.x, Height(p.y, from.x, from.y)});
    json["leftSeen"] = wall.leftSeen;
    json["rightSeen"] = wall.rightSeen;
    json["external"] = wall.external;
    json["deviation"] = wall.deviation;
    json["evidence"] = JsonOf(wall.evidence);
    return json;
}

Json BuildingJson::RoomOf(std::size_t place) const {
    const Room& room = building_.rooms[place];
    Json faces = Json::array();
    for (const building::RoomFace& face : room.faces) {
        Json rings = Json::array({Json::array()});
        for (const Vector& p : face.ring) rings[0].push_back(Place(p));
        for (const auto& hole : face.holes) {
            rings.push_back(Json::array());
            for (const Vector& p : hole) rings.back().push_back(Place(p));
        }
        faces.push_back(
            {{"kind", WordOf(face.kind)}, {"rings", rings}, {"wall", NumberOf(face.wall)}});
    }
    return Json{{"number", place + 1},
                {"name", room.name},
                {"storey", room.storey + 1},
                {"polygon", Plan(room.plan, room.floor)},
                {"floor", Height(room.floor)},
                {"ceiling", Height(room.ceiling)},
                {"area", JsonOf(room.area)},
                {"height", JsonOf(room.height)},
                {"volume", JsonOf(room.volume)},
                {"faces", faces},
                {"evidence", JsonOf(room.evidence)}};
}

// Of the room to which an opening leads, the left one's first; the storey's where neither is known.
double BuildingJson::FloorBeside(const building::Opening& opening) const {
    for (const auto& room : opening.rooms)
        if (room) return building_.rooms[*room].floor;
    return building_.storeys[building_.walls[opening.wall].storey].elevation;
}

Json BuildingJson::Opening(std::size_t place) const {
    const building::Opening& opening = building_.openings[place];
    const building::Wall& wall = building_.walls[opening.wall];
    const auto way = DirectionOf(wall);
    const Vector direction = Turned({way.x, way.y, 0});
    const double middle = opening.bottom + opening.height.value / 2;
    Json json{{"number", place + 1},
              {"kind", WordOf(opening.kind)},
              {"state", WordOf(opening.state)},
              {"wall", opening.wall + 1},
              {"centre", Place(PlaceIn(wall, opening.along, 0, middle))},
              {"direction", {direction.x, direction.y}}};
    AddMeasure(json, "width", opening.width);
    AddMeasure(json, "height", opening.height);
    json["sill"] = opening.bottom - FloorBeside(opening);
    json["free"] = opening.free;
    json["hidden"] = opening.hidden;
    json["unknown"] = opening.unknown;
    json["rooms"] = {NumberOf(opening.rooms[0]), NumberOf(opening.rooms[1])};
    json["evidence"] = JsonOf(opening.evidence);
    return json;
}

Json BuildingJson::SlabOf(std::size_t place) const {
    const Slab& slab = building_.slabs[place];
    Json json{{"number", place + 1}, {"storey", slab.storey + 1}, {"regions", Json::array()}};
    const double z = slab.top ? slab.top->value : slab.bottom ? slab.bottom->value : 0;
    for (const PlanRegion& region : slab.regions) json["regions"].push_back(Plan(region, z));
    for (const auto& [name, height] : {std::pair{"top", slab.top}, {"bottom", slab.bottom}}) {
        json[name] = nullptr;
        if (!height) continue;
        const double shift = Height(height->value) - height->value;
        json[name] =
            JsonOf(Measure{height->value + shift, height->low + shift, height->high + shift});
    }
    json["thickness"] = slab.thickness ? JsonOf(*slab.thickness) : Json();
    json["evidence"] = JsonOf(slab.evidence);
    return json;
}

Json BuildingJson::Slope(std::size_t place) const {
    const building::RoofSlope& slope = building_.slopes[place];
    const Vector normal = Turned(slope.normal);
    Json outline = Json::array();
    for (const Vector& p : slope.outline) outline.push_back(Place(p));
    // Any place of the plane: that nearest to the project's zero.
    const Vector foot = frame_.ToWorld(slope.normal * -slope.offset);
    return Json{{"number", place + 1},
                {"equation", {normal.x, normal.y, normal.z, -detail::Dot(normal, foot)}},
                {"outline", outline},
                {"thickness", slope.thickness ? JsonOf(*slope.thickness) : Json()},
                {"upperSeen", slope.upperSeen},
                {"area", slope.area},
                {"evidence", JsonOf(slope.evidence)}};
}

}  // namespace

std::string JsonOf(const Building& building, const detail::LocalToWorld& frame) {
    return BuildingJson(building, frame).All().dump(2) + "\n";
}

}  // namespace orvix::output
