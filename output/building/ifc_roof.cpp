// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>

#include "building/plan_length.h"
#include "orvix/geometry/vector.h"
#include "output/building/element_bytes.h"
#include "output/building/ifc_model.h"

namespace orvix::output {

using building::ElementKind, building::PlanRegion;
using detail::Vector, detail::Cross, detail::Dot, detail::operator-, detail::operator*;
using std::string;

namespace {

constexpr IfcLook kRoofLook{"Roof", 0.7, 0.33, 0.24, 0};

}  // namespace

std::size_t BuildingIfc::AddSlope(std::size_t place, const Part& part) {
    const building::RoofSlope& slope = building_.slopes[place];
    const string bytes = BytesOf(slope);
    const Vector zero{0, 0, part.elevation}, &n = slope.normal;
    std::vector<std::size_t> bodies;
    const detail::TriangleMesh mesh = Moved(ElementKind::Slope, place, zero);
    if (slope.thickness && !mesh.triangles.empty()) {
        const double level = building::PlanLength(n.x, n.y);
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

}  // namespace orvix::output
