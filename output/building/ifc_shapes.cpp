// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/building/ifc_shapes.h"

namespace orvix::output {

using detail::Vector, detail::operator-;

namespace {

// A direction has more digits than a place, since it leads far.
std::string Part(double value) {
    std::string text = fmt::format("{:.15f}", value);
    text.erase(text.find_last_not_of('0') + 1);
    return text == "-0." ? "0." : text;
}

}  // namespace

IfcShapes::IfcShapes(IfcFile& file) : file_(file) {
    const std::size_t zero = AddPoint({});
    const std::size_t axes = file_.Add("IFCAXIS2PLACEMENT3D(#{},$,$)", zero);
    context_ = file_.Add("IFCGEOMETRICREPRESENTATIONCONTEXT($,'Model',3,1.E-6,#{},$)", axes);
    body_ = file_.Add(
        "IFCGEOMETRICREPRESENTATIONSUBCONTEXT('Body','Model',*,*,*,*,#{},$,.MODEL_VIEW.,$)",
        context_);
    axis_ = file_.Add(
        "IFCGEOMETRICREPRESENTATIONSUBCONTEXT('Axis','Model',*,*,*,*,#{},$,.GRAPH_VIEW.,$)",
        context_);
    up_ = AddDirection({0, 0, 1});
    level_ = file_.Add("IFCAXIS2PLACEMENT2D(#{},$)", file_.Add("IFCCARTESIANPOINT((0.,0.))"));
}

std::size_t IfcShapes::AddPoint(const Vector& p) {
    return file_.Add("IFCCARTESIANPOINT(({},{},{}))", Real(p.x), Real(p.y), Real(p.z));
}

std::size_t IfcShapes::AddDirection(const Vector& d) {
    return file_.Add("IFCDIRECTION(({},{},{}))", Part(d.x), Part(d.y), Part(d.z));
}

std::size_t IfcShapes::AddAxes(const IfcPlace& place) {
    const std::size_t point = AddPoint(place.location);
    const std::size_t axis = AddDirection(place.axis);
    return file_.Add("IFCAXIS2PLACEMENT3D(#{},#{},#{})", point, axis,
                     AddDirection(place.reference));
}

std::size_t IfcShapes::AddPlacement(std::size_t parent, const IfcPlace& place) {
    const std::size_t axes = AddAxes(place);
    return parent == 0 ? file_.Add("IFCLOCALPLACEMENT($,#{})", axes)
                       : file_.Add("IFCLOCALPLACEMENT(#{},#{})", parent, axes);
}

std::size_t IfcShapes::AddPushed(std::size_t profile, const IfcPlace& place, double height) {
    return file_.Add("IFCEXTRUDEDAREASOLID(#{},#{},#{},{})", profile, AddAxes(place), up_,
                     Real(height));
}

std::size_t IfcShapes::AddBox(const IfcPlace& place, double width, double depth, double height) {
    const std::size_t profile =
        file_.Add("IFCRECTANGLEPROFILEDEF(.AREA.,$,#{},{},{})", level_, Real(width), Real(depth));
    return AddPushed(profile, place, height);
}

std::size_t IfcShapes::AddRing(const building::PlanRing& ring) {
    std::vector<std::size_t> corners;
    for (const building::PlanPoint& p : ring)
        corners.push_back(file_.Add("IFCCARTESIANPOINT(({},{}))", Real(p.x), Real(p.y)));
    corners.push_back(corners.front());
    return file_.Add("IFCPOLYLINE({})", ListOf(corners));
}

std::size_t IfcShapes::AddExtrusion(const IfcPlace& place, const building::PlanRegion& profile,
                                    double height) {
    const std::size_t outer = AddRing(profile.outer);
    std::vector<std::size_t> holes;
    for (const building::PlanRing& hole : profile.holes) holes.push_back(AddRing(hole));
    const std::size_t area =
        holes.empty()
            ? file_.Add("IFCARBITRARYCLOSEDPROFILEDEF(.AREA.,$,#{})", outer)
            : file_.Add("IFCARBITRARYPROFILEDEFWITHVOIDS(.AREA.,$,#{},{})", outer, ListOf(holes));
    return AddPushed(area, place, height);
}

std::size_t IfcShapes::AddFace(const std::vector<std::vector<std::size_t>>& rings) {
    std::vector<std::size_t> bounds;
    for (const std::vector<std::size_t>& ring : rings) {
        const std::size_t loop = file_.Add("IFCPOLYLOOP({})", ListOf(ring));
        bounds.push_back(
            file_.Add("{}(#{},.T.)", bounds.empty() ? "IFCFACEOUTERBOUND" : "IFCFACEBOUND", loop));
    }
    return file_.Add("IFCFACE({})", ListOf(bounds));
}

std::size_t IfcShapes::AddSolid(const building::RoomShell& shell, const Vector& zero) {
    std::vector<std::size_t> points, faces;
    for (const Vector& p : shell.corners) points.push_back(AddPoint(p - zero));
    for (const building::RoomShell::Face& face : shell.faces) {
        std::vector<std::vector<std::size_t>> rings;
        for (const auto& ring : face.rings) {
            rings.emplace_back();
            for (const std::uint32_t corner : ring) rings.back().push_back(points[corner]);
        }
        faces.push_back(AddFace(rings));
    }
    return file_.Add("IFCFACETEDBREP(#{})", file_.Add("IFCCLOSEDSHELL({})", ListOf(faces)));
}

std::size_t IfcShapes::AddSurface(const detail::TriangleMesh& mesh) {
    std::vector<std::size_t> points, faces;
    for (const Vector& p : mesh.points) points.push_back(AddPoint(p));
    for (const auto& t : mesh.triangles)
        faces.push_back(AddFace({{points[t[0]], points[t[1]], points[t[2]]}}));
    return file_.Add("IFCFACEBASEDSURFACEMODEL((#{}))",
                     file_.Add("IFCCONNECTEDFACESET({})", ListOf(faces)));
}

std::size_t IfcShapes::AddAxis(double length) {
    const std::size_t from = file_.Add("IFCCARTESIANPOINT((0.,0.))");
    const std::size_t to = file_.Add("IFCCARTESIANPOINT(({},0.))", Real(length));
    return file_.Add("IFCSHAPEREPRESENTATION(#{},'Axis','Curve2D',(#{}))", axis_,
                     file_.Add("IFCPOLYLINE({})", ListOf({from, to})));
}

std::size_t IfcShapes::StyleOf(const IfcLook& look) {
    for (const auto& [name, style] : styles_)
        if (name == look.name) return style;
    const std::size_t colour =
        file_.Add("IFCCOLOURRGB($,{},{},{})", Real(look.red), Real(look.green), Real(look.blue));
    const std::size_t rendering =
        file_.Add("IFCSURFACESTYLERENDERING(#{},{},$,$,$,$,$,$,.NOTDEFINED.)", colour,
                  Real(look.transparency));
    styles_.emplace_back(look.name,
                         file_.Add("IFCSURFACESTYLE('{}',.BOTH.,(#{}))", look.name, rendering));
    return styles_.back().second;
}

std::size_t IfcShapes::AddBody(const char* type, const std::vector<std::size_t>& items,
                               const IfcLook& look) {
    const std::size_t style = StyleOf(look);
    for (const std::size_t item : items) file_.Add("IFCSTYLEDITEM(#{},(#{}),$)", item, style);
    return file_.Add("IFCSHAPEREPRESENTATION(#{},'Body','{}',{})", body_, type, ListOf(items));
}

std::size_t IfcShapes::AddVoid(std::size_t solid) {
    return AddDefinition(
        {file_.Add("IFCSHAPEREPRESENTATION(#{},'Body','SweptSolid',(#{}))", body_, solid)});
}

std::size_t IfcShapes::AddDefinition(const std::vector<std::size_t>& representations) {
    return file_.Add("IFCPRODUCTDEFINITIONSHAPE($,$,{})", ListOf(representations));
}

}  // namespace orvix::output
