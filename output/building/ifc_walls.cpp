// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>

#include "building/plan_measures.h"
#include "building/wall_frame.h"
#include "orvix/geometry/vector.h"
#include "output/building/element_bytes.h"
#include "output/building/ifc_model.h"

namespace orvix::output {

using building::AreaWithin, building::ElementKind, building::PlanPoint, building::PlanRing;
using detail::Vector, detail::Cross, detail::operator-;
using std::string;

namespace {

constexpr IfcLook kWallLook{"Wall", 0.86, 0.84, 0.79, 0};

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

}  // namespace

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
    const double length = LengthOf(wall), side = AreaWithin(wall.profile);
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

}  // namespace orvix::output
