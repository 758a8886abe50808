// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <set>

#include "building/plan_measures.h"
#include "building/room_shell.h"
#include "orvix/geometry/vector.h"
#include "output/building/element_bytes.h"
#include "output/building/ifc_model.h"

namespace orvix::output {

using building::ElementKind, building::LengthOf;
using detail::Vector, detail::Cross, detail::operator-;
using std::string;

namespace {

constexpr IfcLook kSpaceLook{"Space", 0.6, 0.8, 0.6, 0.8};

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

}  // namespace

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

}  // namespace orvix::output
