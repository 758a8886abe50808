// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/building/building_ifc.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <tuple>

#include "building/building_words.h"
#include "building/element_meshes.h"
#include "building/wall_frame.h"
#include "orvix/geometry/vector.h"
#include "output/building/element_bytes.h"
#include "output/building/ifc_properties.h"
#include "output/building/ifc_shapes.h"

namespace orvix::output {

namespace {

using building::Building, building::ElementKind, building::PlanPoint, building::PlanRegion,
    building::PlanRing;
using detail::LocalToWorld, detail::Vector, detail::Cross, detail::Dot, detail::operator-,
    detail::operator*;
using std::string;

constexpr IfcLook kWallLook{"Wall", 0.86, 0.84, 0.79, 0};
constexpr IfcLook kSlabLook{"Slab", 0.62, 0.62, 0.62, 0};
constexpr IfcLook kDoorLook{"Door", 0.55, 0.36, 0.2, 0.5};
constexpr IfcLook kWindowLook{"Window", 0.5, 0.7, 0.9, 0.5};
constexpr IfcLook kRoofLook{"Roof", 0.7, 0.33, 0.24, 0};
constexpr IfcLook kSpaceLook{"Space", 0.6, 0.8, 0.6, 0.8};
constexpr double kLeaf = 0.04;  // how thick a door's leaf or a window's pane is drawn

double AreaOf(const PlanRing& ring) {
    double twice = 0;
    for (std::size_t i = 0; i < ring.size(); ++i) {
        const PlanPoint &a = ring[i], &b = ring[(i + 1) % ring.size()];
        twice += a.x * b.y - a.y * b.x;
    }
    return std::abs(twice) / 2;
}

double LengthOf(const PlanRing& ring) {
    double length = 0;
    for (std::size_t i = 0; i < ring.size(); ++i) {
        const PlanPoint &a = ring[i], &b = ring[(i + 1) % ring.size()];
        length += std::hypot(b.x - a.x, b.y - a.y);
    }
    return length;
}

double NetAreaOf(const PlanRegion& region) {
    double area = AreaOf(region.outer);
    for (const PlanRing& hole : region.holes) area -= AreaOf(hole);
    return area;
}

double AreaOf(const detail::TriangleMesh& mesh) {
    double twice = 0;
    for (const auto& t : mesh.triangles)
        twice += detail::Length(
            Cross(mesh.points[t[1]] - mesh.points[t[0]], mesh.points[t[2]] - mesh.points[t[0]]));
    return twice / 2;
}

bool IsRectangle(const building::Wall& wall) {
    constexpr double kSame = 1e-9;
    const double length = LengthOf(wall);
    const PlanRing wanted{{0, wall.base}, {length, wall.base}, {length, wall.top}, {0, wall.top}};
    return std::equal(wall.profile.begin(), wall.profile.end(), wanted.begin(), wanted.end(),
                      [](const PlanPoint& a, const PlanPoint& b) {
                          return std::abs(a.x - b.x) < kSame && std::abs(a.y - b.y) < kSame;
                      });
}

// Whether a room is what lies over its plan: every corner at its floor or its ceiling, and each
// face level or upright.
bool IsPrism(const building::Room& room, const building::RoomShell& shell) {
    constexpr double kSame = 1e-6;
    for (const building::RoomShell::Face& face : shell.faces) {
        double lowest = room.ceiling, highest = room.floor;
        for (const std::uint32_t corner : face.rings[0]) {
            const double z = shell.corners[corner].z;
            if (std::abs(z - room.floor) > kSame && std::abs(z - room.ceiling) > kSame)
                return false;
            lowest = std::min(lowest, z);
            highest = std::max(highest, z);
        }
        const bool upright = room.faces[face.source].kind == building::BoundKind::Wall;
        if (!upright && highest - lowest > kSame) return false;
        const auto& p = shell.corners[face.rings[0][0]];
        const Vector normal =
            Cross(shell.corners[face.rings[0][1]] - p, shell.corners[face.rings[0][2]] - p);
        if (upright && std::abs(normal.z) > kSame * detail::Length(normal)) return false;
    }
    return true;
}

/// One building's file.
class BuildingIfc {
public:
    BuildingIfc(TextFile& file, const Building& building, const LocalToWorld& frame)
        : building_(building),
          frame_(frame),
          meshes_(MeshesOf(building)),
          file_(file, "building.ifc"),
          shapes_(file_),
          properties_(file_, ids_) {}

    void Print() {
        PrintProject();
        for (std::size_t i = 0; i < building_.walls.size(); ++i) walls_.push_back(AddWall(i));
        for (std::size_t i = 0; i < building_.openings.size(); ++i)
            openings_.push_back(AddOpening(i));
        for (std::size_t i = 0; i < building_.slabs.size(); ++i) AddSlab(i);
        for (std::size_t i = 0; i < building_.rooms.size(); ++i) AddRoom(i);
        if (!building_.slopes.empty()) AddRoof();
        for (const Part& part : parts_) PrintContents(part);
        file_.End();
    }

private:
    /// A part of the project in which elements are: a storey, or the building where it has none.
    struct Part {
        string bytes;
        std::size_t id = 0;
        std::size_t placement = 0;
        double elevation = 0;
        std::vector<std::size_t> elements;
        std::vector<std::size_t> spaces;
    };

    void PrintProject();
    void PrintContents(const Part& part);
    std::size_t AddWall(std::size_t place);
    std::size_t AddOpening(std::size_t place);
    std::size_t AddFilling(std::size_t place, const string& bytes, std::size_t placement);
    void AddSlab(std::size_t place);
    void AddRoom(std::size_t place);
    void AddBoundaries(std::size_t place, std::size_t space, const string& bytes);
    void AddRoof();
    std::size_t AddSlope(std::size_t place, const Part& part);

    [[nodiscard]] Vector Zero() const;
    [[nodiscard]] const detail::TriangleMesh& MeshOf(ElementKind kind, std::size_t place) const;
    [[nodiscard]] detail::TriangleMesh Moved(ElementKind kind, std::size_t place,
                                             const Vector& zero) const;
    [[nodiscard]] string NameOf(ElementKind kind, std::size_t place) const {
        return Text(building::NameOf(building_, kind, place));
    }
    void Aggregate(const string& bytes, std::size_t whole, const std::vector<std::size_t>& parts);
    void AddWallProperties(std::size_t place, std::size_t wall, const string& bytes);
    void AddSlabProperties(const building::Slab& slab, std::size_t id, const string& bytes);
    void AddOpeningProperties(const building::Opening& opening, std::size_t id,
                              const string& bytes);

    const Building& building_;
    const LocalToWorld& frame_;
    std::vector<building::ElementMesh> meshes_;
    IfcFile file_;
    IfcShapes shapes_;
    IfcIds ids_;
    IfcProperties properties_;
    std::vector<Part> parts_;
    std::vector<std::size_t> walls_;
    std::vector<std::size_t> placements_;  // of walls
    std::vector<std::size_t> openings_;    // the door or window, else the opening
};

const detail::TriangleMesh& BuildingIfc::MeshOf(ElementKind kind, std::size_t place) const {
    return std::find_if(meshes_.begin(), meshes_.end(),
                        [&](const auto& m) { return m.kind == kind && m.place == place; })
        ->mesh;
}

detail::TriangleMesh BuildingIfc::Moved(ElementKind kind, std::size_t place,
                                        const Vector& zero) const {
    detail::TriangleMesh mesh = MeshOf(kind, place);
    for (Vector& p : mesh.points) p = p - zero;
    return mesh;
}

// Near the middle of what there is.
Vector BuildingIfc::Zero() const {
    constexpr double kFar = 1e300;
    Vector low{kFar, kFar, kFar}, high{-kFar, -kFar, -kFar};
    double farthest = 0;
    for (const building::ElementMesh& element : meshes_)
        for (const Vector& local : element.mesh.points) {
            const Vector p = frame_.ToWorld(local);
            low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
            high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
            farthest = std::max({farthest, std::abs(p.x), std::abs(p.y), std::abs(p.z)});
        }
    return farthest > 0 ? ModelZero(farthest, detail::Middle(low, high)) : Vector{};
}

void BuildingIfc::Aggregate(const string& bytes, std::size_t whole,
                            const std::vector<std::size_t>& parts) {
    if (!parts.empty())
        file_.Add("IFCRELAGGREGATES('{}',$,$,$,#{},{})", ids_.Of("parts of " + bytes), whole,
                  ListOf(parts));
}

void BuildingIfc::PrintProject() {
    const string bytes = BytesOf(building_);
    const auto id = [&](const char* role) { return ids_.Of(role + bytes); };
    const std::size_t units = file_.AddUnits();
    const std::size_t project = file_.Add("IFCPROJECT('{}',$,'Building',$,$,$,$,(#{}),#{})",
                                          id("project "), shapes_.Context(), units);
    const Vector zero = Zero();
    file_.AddMapConversion(shapes_.Context(), zero);
    const auto& m = frame_.m;
    const std::size_t sitePlacement =
        shapes_.AddPlacement(0, {frame_.Origin() - zero, {m[2], m[6], m[10]}, {m[0], m[4], m[8]}});
    const std::size_t site = file_.Add("IFCSITE('{}',$,'Site',$,$,#{},$,$,.ELEMENT.,$,$,$,$,$)",
                                       id("site "), sitePlacement);
    const std::size_t placement = shapes_.AddPlacement(sitePlacement, {});
    const std::size_t building = file_.Add(
        "IFCBUILDING('{}',$,'Building',$,$,#{},$,$,.ELEMENT.,$,$,$)", id("building "), placement);
    Aggregate("project" + bytes, project, {site});
    Aggregate("site" + bytes, site, {building});
    std::vector<std::size_t> storeys;
    for (const building::Storey& storey : building_.storeys) {
        const std::size_t own = shapes_.AddPlacement(placement, {{0, 0, storey.elevation}});
        const string storeyBytes = BytesOf(storey);
        storeys.push_back(file_.Add("IFCBUILDINGSTOREY('{}',$,{},$,$,#{},$,$,.ELEMENT.,{})",
                                    ids_.Of(storeyBytes), Text(storey.name), own,
                                    Real(storey.elevation)));
        parts_.push_back({storeyBytes, storeys.back(), own, storey.elevation, {}, {}});
    }
    Aggregate("building" + bytes, building, storeys);
    if (storeys.empty()) parts_.push_back({"building" + bytes, building, placement, 0, {}, {}});
    properties_.Add("StationsKnown", building_.stationsKnown);
    properties_.Add("Remarks", building_.remarks);
    properties_.AttachSet("Orvix_Model", building, bytes);
}

void BuildingIfc::PrintContents(const Part& part) {
    Aggregate(part.bytes, part.id, part.spaces);
    if (!part.elements.empty())
        file_.Add("IFCRELCONTAINEDINSPATIALSTRUCTURE('{}',$,$,$,{},#{})",
                  ids_.Of("contents of " + part.bytes), ListOf(part.elements), part.id);
}

std::size_t BuildingIfc::AddWall(std::size_t place) {
    const building::Wall& wall = building_.walls[place];
    Part& part = parts_[wall.storey];
    const string bytes = BytesOf(wall);
    const PlanPoint way = DirectionOf(wall);
    const std::size_t placement = shapes_.AddPlacement(
        part.placement, {{wall.axis[0].x, wall.axis[0].y, wall.base - part.elevation},
                         {0, 0, 1},
                         {way.x, way.y, 0}});
    const double length = LengthOf(wall);
    const bool plain = wall.thickness && IsRectangle(wall);
    std::vector<std::size_t> representations{shapes_.AddAxis(length)};
    if (plain) {
        const std::size_t solid = shapes_.AddBox({{length / 2, 0, 0}}, length,
                                                 wall.thickness->value, wall.top - wall.base);
        representations.push_back(shapes_.AddBody("SweptSolid", {solid}, kWallLook));
    } else if (wall.thickness) {
        PlanRing profile = wall.profile;
        for (PlanPoint& p : profile) p.y -= wall.base;
        const std::size_t solid =
            shapes_.AddExtrusion({{0, wall.thickness->value / 2, 0}, {0, -1, 0}, {1, 0, 0}},
                                 {profile, {}}, wall.thickness->value);
        representations.push_back(shapes_.AddBody("SweptSolid", {solid}, kWallLook));
    } else if (detail::TriangleMesh mesh = MeshOf(ElementKind::Wall, place);
               !mesh.triangles.empty()) {
        for (Vector& p : mesh.points) {
            const double x = p.x - wall.axis[0].x, y = p.y - wall.axis[0].y;
            p = {x * way.x + y * way.y, y * way.x - x * way.y, p.z - wall.base};
        }
        representations.push_back(
            shapes_.AddBody("SurfaceModel", {shapes_.AddSurface(mesh)}, kWallLook));
    }
    const std::size_t id = file_.Add("IFCWALL('{}',$,{},$,$,#{},#{},'{}',.{}.)", ids_.Of(bytes),
                                     NameOf(ElementKind::Wall, place), placement,
                                     shapes_.AddDefinition(representations), place + 1,
                                     plain ? "STANDARD" : "NOTDEFINED");
    placements_.push_back(placement);
    part.elements.push_back(id);
    AddWallProperties(place, id, bytes);
    return id;
}

void BuildingIfc::AddWallProperties(std::size_t place, std::size_t id, const string& bytes) {
    const building::Wall& wall = building_.walls[place];
    properties_.Add("IsExternal", wall.external);
    properties_.AttachSet("Pset_WallCommon", id, bytes);
    properties_.Add(wall.evidence);
    properties_.Add("Deviation", "IFCLENGTHMEASURE", wall.deviation);
    properties_.Add("LeftSeen", wall.leftSeen);
    properties_.Add("RightSeen", wall.rightSeen);
    if (wall.thickness) properties_.Add("Thickness", "IFCLENGTHMEASURE", *wall.thickness);
    properties_.AttachSet("Orvix_Evidence", id, bytes);
    const double length = LengthOf(wall), side = AreaOf(wall.profile);
    properties_.AddLength("Length", length);
    properties_.AddLength("Height", wall.top - wall.base);
    properties_.AddArea("GrossSideArea", side);
    const detail::TriangleMesh& mesh = MeshOf(ElementKind::Wall, place);
    if (wall.thickness) {
        const double thickness = wall.thickness->value, volume = building::VolumeOf(mesh);
        properties_.AddLength("Width", thickness);
        properties_.AddArea("NetSideArea", volume / thickness);
        properties_.AddArea("GrossFootprintArea", length * thickness);
        properties_.AddVolume("GrossVolume", side * thickness);
        properties_.AddVolume("NetVolume", volume);
    } else {
        properties_.AddArea("NetSideArea", AreaOf(mesh));
    }
    properties_.AttachQuantities("Qto_WallBaseQuantities", id, bytes);
}

std::size_t BuildingIfc::AddOpening(std::size_t place) {
    const building::Opening& opening = building_.openings[place];
    const building::Wall& wall = building_.walls[opening.wall];
    const string bytes = BytesOf(opening, wall);
    const std::size_t placement = shapes_.AddPlacement(
        placements_[opening.wall], {{opening.along, 0, opening.bottom - wall.base}});
    string shape = "$";
    const double width = opening.width.value, height = opening.height.value;
    if (wall.thickness)
        shape = fmt::format(
            "#{}", shapes_.AddVoid(shapes_.AddBox({}, width, wall.thickness->value, height)));
    const std::size_t id =
        file_.Add("IFCOPENINGELEMENT('{}',$,{},$,$,#{},{},'{}',.OPENING.)", ids_.Of(bytes),
                  NameOf(ElementKind::Opening, place), placement, shape, place + 1);
    file_.Add("IFCRELVOIDSELEMENT('{}',$,$,$,#{},#{})", ids_.Of("voids " + bytes),
              walls_[opening.wall], id);
    properties_.AddLength("Width", width);
    properties_.AddLength("Height", height);
    if (wall.thickness) properties_.AddLength("Depth", wall.thickness->value);
    properties_.AddArea("Area", width * height);
    if (wall.thickness) properties_.AddVolume("Volume", width * height * wall.thickness->value);
    properties_.AttachQuantities("Qto_OpeningElementBaseQuantities", id, bytes);
    if (opening.kind == building::OpeningKind::Hole) {
        AddOpeningProperties(opening, id, bytes);
        return id;
    }
    const std::size_t filling = AddFilling(place, bytes, placement);
    file_.Add("IFCRELFILLSELEMENT('{}',$,$,$,#{},#{})", ids_.Of("fills " + bytes), id, filling);
    return filling;
}

std::size_t BuildingIfc::AddFilling(std::size_t place, const string& bytes, std::size_t parent) {
    const building::Opening& opening = building_.openings[place];
    const building::Wall& wall = building_.walls[opening.wall];
    const bool door = opening.kind == building::OpeningKind::Door;
    const double width = opening.width.value, height = opening.height.value;
    const double depth = wall.thickness ? std::min(kLeaf, wall.thickness->value) : kLeaf;
    const std::size_t placement = shapes_.AddPlacement(parent, {});
    const std::size_t leaf = shapes_.AddBox({}, width, depth, height);
    const std::size_t body = shapes_.AddBody("SweptSolid", {leaf}, door ? kDoorLook : kWindowLook);
    const std::size_t id =
        file_.Add("{}('{}',$,{},$,$,#{},#{},'{}',{},{},{},.NOTDEFINED.,$)",
                  door ? "IFCDOOR" : "IFCWINDOW", ids_.Of("filling " + bytes),
                  NameOf(ElementKind::Opening, place), placement, shapes_.AddDefinition({body}),
                  place + 1, Real(height), Real(width), door ? ".DOOR." : ".WINDOW.");
    parts_[wall.storey].elements.push_back(id);
    properties_.Add("IsExternal", wall.external);
    properties_.AttachSet(door ? "Pset_DoorCommon" : "Pset_WindowCommon", id, bytes);
    AddOpeningProperties(opening, id, bytes);
    properties_.AddLength("Width", width);
    properties_.AddLength("Height", height);
    properties_.AddLength("Perimeter", 2 * (width + height));
    properties_.AddArea("Area", width * height);
    properties_.AttachQuantities(door ? "Qto_DoorBaseQuantities" : "Qto_WindowBaseQuantities", id,
                                 bytes);
    return id;
}

void BuildingIfc::AddOpeningProperties(const building::Opening& opening, std::size_t id,
                                       const string& bytes) {
    properties_.Add(opening.evidence);
    properties_.Add("State", string(WordOf(opening.state)));
    properties_.Add("Free", "IFCNORMALISEDRATIOMEASURE", std::clamp(opening.free, 0.0, 1.0));
    properties_.Add("BehindThings", "IFCNORMALISEDRATIOMEASURE",
                    std::clamp(opening.hidden, 0.0, 1.0));
    properties_.Add("Unknown", "IFCNORMALISEDRATIOMEASURE", std::clamp(opening.unknown, 0.0, 1.0));
    properties_.Add("Width", "IFCLENGTHMEASURE", opening.width);
    properties_.Add("Height", "IFCLENGTHMEASURE", opening.height);
    properties_.AttachSet("Orvix_Evidence", id, bytes);
}

void BuildingIfc::AddSlab(std::size_t place) {
    const building::Slab& slab = building_.slabs[place];
    Part& part = parts_[slab.storey];
    const string bytes = BytesOf(slab);
    string shape = "$";
    const Vector zero{0, 0, part.elevation};
    if (slab.top && slab.bottom) {
        std::vector<std::size_t> solids;
        for (const PlanRegion& region : slab.regions)
            solids.push_back(shapes_.AddExtrusion({{0, 0, slab.bottom->value - part.elevation}},
                                                  region, slab.top->value - slab.bottom->value));
        if (!solids.empty())
            shape = fmt::format(
                "#{}", shapes_.AddDefinition({shapes_.AddBody("SweptSolid", solids, kSlabLook)}));
    } else if (const auto mesh = Moved(ElementKind::Slab, place, zero); !mesh.triangles.empty()) {
        shape = fmt::format("#{}", shapes_.AddDefinition({shapes_.AddBody(
                                       "SurfaceModel", {shapes_.AddSurface(mesh)}, kSlabLook)}));
    }
    const std::size_t placement = shapes_.AddPlacement(part.placement, {});
    const char* type = !slab.top ? "NOTDEFINED" : slab.storey == 0 ? "BASESLAB" : "FLOOR";
    const std::size_t id =
        file_.Add("IFCSLAB('{}',$,{},$,$,#{},{},'{}',.{}.)", ids_.Of(bytes),
                  NameOf(ElementKind::Slab, place), placement, shape, place + 1, type);
    part.elements.push_back(id);
    AddSlabProperties(slab, id, bytes);
}

void BuildingIfc::AddSlabProperties(const building::Slab& slab, std::size_t id,
                                    const string& bytes) {
    properties_.Add(slab.evidence);
    if (slab.top) properties_.Add("Top", "IFCLENGTHMEASURE", *slab.top);
    if (slab.bottom) properties_.Add("Bottom", "IFCLENGTHMEASURE", *slab.bottom);
    if (slab.thickness) properties_.Add("Thickness", "IFCLENGTHMEASURE", *slab.thickness);
    properties_.AttachSet("Orvix_Evidence", id, bytes);
    double gross = 0, net = 0, perimeter = 0;
    for (const PlanRegion& region : slab.regions) {
        gross += AreaOf(region.outer);
        net += NetAreaOf(region);
        perimeter += LengthOf(region.outer);
    }
    properties_.AddLength("Perimeter", perimeter);
    properties_.AddArea("GrossArea", gross);
    properties_.AddArea("NetArea", net);
    if (slab.top && slab.bottom) {
        const double thickness = slab.top->value - slab.bottom->value;
        properties_.AddLength("Width", thickness);
        properties_.AddVolume("GrossVolume", gross * thickness);
        properties_.AddVolume("NetVolume", net * thickness);
    }
    properties_.AttachQuantities("Qto_SlabBaseQuantities", id, bytes);
}

void BuildingIfc::AddRoom(std::size_t place) {
    const building::Room& room = building_.rooms[place];
    Part& part = parts_[room.storey];
    const string bytes = BytesOf(room);
    const building::RoomShell shell = ShellOf(room);
    const Vector zero{0, 0, part.elevation};
    const auto element = std::find_if(meshes_.begin(), meshes_.end(), [&](const auto& m) {
        return m.kind == ElementKind::Room && m.place == place;
    });
    std::vector<std::size_t> bodies;
    if (element->closed && IsPrism(room, shell)) {
        const std::size_t solid = shapes_.AddExtrusion({{0, 0, room.floor - part.elevation}},
                                                       room.plan, room.ceiling - room.floor);
        bodies.push_back(shapes_.AddBody("SweptSolid", {solid}, kSpaceLook));
    } else if (element->closed) {
        bodies.push_back(shapes_.AddBody("Brep", {shapes_.AddSolid(shell, zero)}, kSpaceLook));
    } else if (!element->mesh.triangles.empty()) {
        const std::size_t surface = shapes_.AddSurface(Moved(ElementKind::Room, place, zero));
        bodies.push_back(shapes_.AddBody("SurfaceModel", {surface}, kSpaceLook));
    }
    const string shape = bodies.empty() ? "$" : fmt::format("#{}", shapes_.AddDefinition(bodies));
    const std::size_t placement = shapes_.AddPlacement(part.placement, {});
    const std::size_t id =
        file_.Add("IFCSPACE('{}',$,{},$,$,#{},{},$,.ELEMENT.,.INTERNAL.,{})", ids_.Of(bytes),
                  Text(room.name), placement, shape, Real(room.floor - part.elevation));
    part.spaces.push_back(id);
    properties_.Add(room.evidence);
    properties_.Add("Area", "IFCAREAMEASURE", room.area);
    properties_.Add("Height", "IFCLENGTHMEASURE", room.height);
    properties_.Add("Volume", "IFCVOLUMEMEASURE", room.volume);
    properties_.AttachSet("Orvix_Evidence", id, bytes);
    properties_.AddLength("Height", room.height.value);
    properties_.AddLength("GrossPerimeter", LengthOf(room.plan.outer));
    properties_.AddArea("NetFloorArea", room.area.value);
    properties_.AddVolume("NetVolume", room.volume.value);
    properties_.AttachQuantities("Qto_SpaceBaseQuantities", id, bytes);
    AddBoundaries(place, id, bytes);
}

// The walls whose faces are a room's, and the doors and windows that lead out of it.
void BuildingIfc::AddBoundaries(std::size_t place, std::size_t space, const string& bytes) {
    std::set<std::size_t> walls;
    for (const building::RoomFace& face : building_.rooms[place].faces)
        if (face.wall) walls.insert(*face.wall);
    const auto add = [&](std::size_t id, bool external, const string& other) {
        file_.Add("IFCRELSPACEBOUNDARY('{}',$,$,$,#{},#{},$,.PHYSICAL.,.{}.)",
                  ids_.Of("bounds " + bytes + other), space, id,
                  external ? "EXTERNAL" : "INTERNAL");
    };
    for (const std::size_t wall : walls)
        add(walls_[wall], building_.walls[wall].external, BytesOf(building_.walls[wall]));
    for (std::size_t i = 0; i < building_.openings.size(); ++i) {
        const building::Opening& opening = building_.openings[i];
        const building::Wall& wall = building_.walls[opening.wall];
        const bool beside = opening.rooms[0] == place || opening.rooms[1] == place;
        if (beside && opening.kind != building::OpeningKind::Hole)
            add(openings_[i], wall.external, BytesOf(opening, wall));
    }
}

std::size_t BuildingIfc::AddSlope(std::size_t place, const Part& part) {
    const building::RoofSlope& slope = building_.slopes[place];
    const string bytes = BytesOf(slope);
    const Vector zero{0, 0, part.elevation}, &n = slope.normal;
    std::vector<std::size_t> bodies;
    const detail::TriangleMesh mesh = Moved(ElementKind::Slope, place, zero);
    if (slope.thickness && !mesh.triangles.empty()) {
        const double level = std::hypot(n.x, n.y);
        const Vector u = level > 1e-9 ? Vector{-n.y / level, n.x / level, 0} : Vector{1, 0, 0};
        const Vector v = Cross(n, u);
        const Vector& corner = slope.outline[0];
        PlanRegion profile;
        for (const Vector& p : slope.outline)
            profile.outer.push_back({Dot(p - corner, u), Dot(p - corner, v)});
        const double thickness = slope.thickness->value;
        const std::size_t solid =
            shapes_.AddExtrusion({corner - zero - n * thickness, n, u}, profile, thickness);
        bodies.push_back(shapes_.AddBody("SweptSolid", {solid}, kRoofLook));
    } else if (!mesh.triangles.empty()) {
        bodies.push_back(shapes_.AddBody("SurfaceModel", {shapes_.AddSurface(mesh)}, kRoofLook));
    }
    const string shape = bodies.empty() ? "$" : fmt::format("#{}", shapes_.AddDefinition(bodies));
    const std::size_t placement = shapes_.AddPlacement(part.placement, {});
    const std::size_t id =
        file_.Add("IFCSLAB('{}',$,{},$,$,#{},{},'{}',.ROOF.)", ids_.Of(bytes),
                  NameOf(ElementKind::Slope, place), placement, shape, place + 1);
    properties_.Add(slope.evidence);
    properties_.Add("UpperSeen", slope.upperSeen);
    if (slope.thickness) properties_.Add("Thickness", "IFCLENGTHMEASURE", *slope.thickness);
    properties_.AttachSet("Orvix_Evidence", id, bytes);
    properties_.AddArea("GrossArea", slope.area);
    properties_.AddArea("NetArea", slope.area);
    if (slope.thickness) {
        properties_.AddLength("Width", slope.thickness->value);
        properties_.AddVolume("NetVolume", slope.area * slope.thickness->value);
    }
    properties_.AttachQuantities("Qto_SlabBaseQuantities", id, bytes);
    return id;
}

void BuildingIfc::AddRoof() {
    Part& part = parts_.back();
    string bytes = "roof ";
    for (const building::RoofSlope& slope : building_.slopes) bytes += BytesOf(slope);
    std::vector<std::size_t> slopes;
    for (std::size_t i = 0; i < building_.slopes.size(); ++i) slopes.push_back(AddSlope(i, part));
    const std::size_t placement = shapes_.AddPlacement(part.placement, {});
    const std::size_t id =
        file_.Add("IFCROOF('{}',$,'roof',$,$,#{},$,$,.NOTDEFINED.)", ids_.Of(bytes), placement);
    part.elements.push_back(id);
    Aggregate(bytes, id, slopes);
    for (const auto& [kind, name] : {std::pair{building::RoofEdgeKind::Ridge, "RidgeLength"},
                                     {building::RoofEdgeKind::Hip, "HipLength"},
                                     {building::RoofEdgeKind::Valley, "ValleyLength"}}) {
        double length = 0;
        for (const building::RoofEdge& edge : building_.edges)
            if (edge.kind == kind) length += detail::Length(edge.ends[1] - edge.ends[0]);
        properties_.Add(name, "IFCLENGTHMEASURE", length);
    }
    properties_.AttachSet("Orvix_Roof", id, bytes);
}

// Whether the frame turns and shifts, and does no more.
bool IsRigid(const LocalToWorld& frame) {
    constexpr double kSame = 1e-9;
    const auto& m = frame.m;
    const Vector x{m[0], m[4], m[8]}, y{m[1], m[5], m[9]}, z{m[2], m[6], m[10]};
    return detail::Length(Cross(x, y) - z) < kSame && std::abs(Dot(x, x) - 1) < kSame &&
           std::abs(Dot(y, y) - 1) < kSame && std::abs(Dot(x, y)) < kSame;
}

}  // namespace

Expected<void> WriteIfc(const CString& path, const Building& building, const LocalToWorld& frame) {
    if (!IsRigid(frame))
        return Fail(ErrorCode::BadInput,
                    platform::ToUtf8(path) +
                        " cannot be written: the project's transform stretches or mirrors, which "
                        "IFC's placements cannot; write .obj or .json instead");
    TextFile file(path);
    BuildingIfc(file, building, frame).Print();
    return file.Commit();
}

}  // namespace orvix::output
