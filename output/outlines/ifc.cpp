// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>

#include "orvix/geometry/vector.h"
#include "output/ifc/ifc_file.h"
#include "output/outlines/outline_formats.h"
#include "output/outlines/planes_id.h"

namespace orvix::output {

namespace {

using detail::Vector, detail::operator-;

/// What a plane of a class becomes; the set and the name of the quantity that holds its area.
struct Entity {
    const char* name;
    const char* type;
    const char* quantities;
    const char* area;
};

const Entity& EntityOf(const std::string& kind) {
    static const std::map<std::string, Entity> kEntities{
        {"floor", {"IFCSLAB", "FLOOR", "Qto_SlabBaseQuantities", "NetArea"}},
        {"roof", {"IFCSLAB", "ROOF", "Qto_SlabBaseQuantities", "NetArea"}},
        {"ceiling", {"IFCCOVERING", "CEILING", "Qto_CoveringBaseQuantities", "NetArea"}},
        {"wall", {"IFCWALL", "NOTDEFINED", "Qto_WallBaseQuantities", "NetSideArea"}}};
    static const Entity kProxy{"IFCBUILDINGELEMENTPROXY", "NOTDEFINED",
                               "Qto_BuildingElementProxyQuantities", "NetSurfaceArea"};
    const auto found = kEntities.find(kind);
    return found != kEntities.end() ? found->second : kProxy;
}

Vector OriginOf(const std::vector<reports::WorldPlane>& planes) {
    double farthest = 0;
    for (const reports::WorldPlane& plane : planes)
        for (const reports::WorldPlane::Region& region : plane.regions)
            for (const Vector& p : region.outer)
                farthest = std::max({farthest, std::abs(p.x), std::abs(p.y), std::abs(p.z)});
    return planes.empty() ? Vector{} : ModelZero(farthest, planes[0].centroid);
}

class IfcModel {
public:
    IfcModel(TextFile& file, const std::vector<reports::WorldPlane>& planes)
        : ifc_(file, "planes.ifc"), planes_(planes), origin_(OriginOf(planes)) {}

    void Print() {
        PrintProject();
        PrintPlaces();
        std::vector<std::size_t> elements;
        for (const reports::WorldPlane& plane : planes_) elements.push_back(PrintPlane(plane));
        if (!elements.empty())
            Add("IFCRELCONTAINEDINSPATIALSTRUCTURE('{}',$,$,$,{},#{})", Guid("contents"),
                ListOf(elements), storey_);
        ifc_.End();
    }

private:
    template <class... Arguments>
    std::size_t Add(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
        return ifc_.Add(format, std::forward<Arguments>(arguments)...);
    }
    [[nodiscard]] std::string Guid(const std::string& role) const {
        return GlobalIdOf(role, planes_);
    }
    std::size_t AddPoint(const Vector& p) {
        return Add("IFCCARTESIANPOINT(({:.6f},{:.6f},{:.6f}))", p.x, p.y, p.z);
    }
    std::size_t AddPlacement(std::size_t parent) {
        return parent == 0 ? Add("IFCLOCALPLACEMENT($,#{})", axes_)
                           : Add("IFCLOCALPLACEMENT(#{},#{})", parent, axes_);
    }
    void PrintProject();
    void PrintPlaces();
    std::size_t PrintPlane(const reports::WorldPlane& plane);
    std::size_t PrintFace(const reports::WorldPlane::Region& region);
    std::size_t PrintLoop(const reports::WorldPlane::Ring& ring);
    void PrintProperties(const reports::WorldPlane& plane, std::size_t element);

    IfcFile ifc_;
    const std::vector<reports::WorldPlane>& planes_;
    Vector origin_;
    std::size_t axes_ = 0;
    std::size_t context_ = 0;
    std::size_t body_ = 0;  // the context of shapes
    std::size_t project_ = 0;
    std::size_t storey_ = 0;
    std::size_t placement_ = 0;  // the storey's
};

void IfcModel::PrintProject() {
    axes_ = Add("IFCAXIS2PLACEMENT3D(#{},$,$)", AddPoint({}));
    context_ = Add("IFCGEOMETRICREPRESENTATIONCONTEXT($,'Model',3,1.E-6,#{},$)", axes_);
    body_ = Add("IFCGEOMETRICREPRESENTATIONSUBCONTEXT('Body','Model',*,*,*,*,#{},$,.MODEL_VIEW.,$)",
                context_);
    const std::size_t assignment = ifc_.AddUnits();
    project_ =
        Add("IFCPROJECT('{}',$,'Planes',$,$,$,$,(#{}),#{})", Guid("project"), context_, assignment);
    ifc_.AddMapConversion(context_, origin_);
}

void IfcModel::PrintPlaces() {
    const std::size_t sitePlacement = AddPlacement(0);
    const std::size_t site =
        Add("IFCSITE('{}',$,'Site',$,$,#{},$,$,.ELEMENT.,$,$,$,$,$)", Guid("site"), sitePlacement);
    const std::size_t buildingPlacement = AddPlacement(sitePlacement);
    const std::size_t building = Add("IFCBUILDING('{}',$,'Scan',$,$,#{},$,$,.ELEMENT.,$,$,$)",
                                     Guid("building"), buildingPlacement);
    placement_ = AddPlacement(buildingPlacement);
    storey_ = Add("IFCBUILDINGSTOREY('{}',$,'All planes',$,$,#{},$,$,.ELEMENT.,0.)", Guid("storey"),
                  placement_);
    for (const auto& [role, whole, part] :
         {std::tuple{"in project", project_, site}, std::tuple{"in site", site, building},
          std::tuple{"in building", building, storey_}})
        Add("IFCRELAGGREGATES('{}',$,$,$,#{},(#{}))", Guid(role), whole, part);
}

std::size_t IfcModel::PrintLoop(const reports::WorldPlane::Ring& ring) {
    std::vector<std::size_t> corners;
    for (const Vector& p : ring) corners.push_back(AddPoint(p - origin_));
    return Add("IFCPOLYLOOP({})", ListOf(corners));
}

std::size_t IfcModel::PrintFace(const reports::WorldPlane::Region& region) {
    std::vector<std::size_t> bounds{Add("IFCFACEOUTERBOUND(#{},.T.)", PrintLoop(region.outer))};
    for (const reports::WorldPlane::Ring& hole : region.holes)
        bounds.push_back(Add("IFCFACEBOUND(#{},.T.)", PrintLoop(hole)));
    return Add("IFCFACE({})", ListOf(bounds));
}

void IfcModel::PrintProperties(const reports::WorldPlane& plane, std::size_t element) {
    std::vector<std::size_t> properties;
    for (const auto& [name, type, value] :
         {std::tuple{"Tolerance", "IFCPOSITIVELENGTHMEASURE", plane.tolerance},
          std::tuple{"Rms", "IFCLENGTHMEASURE", plane.rms},
          std::tuple{"Area", "IFCAREAMEASURE", plane.area}})
        properties.push_back(Add("IFCPROPERTYSINGLEVALUE('{}',$,{}({:.9E}),$)", name, type, value));
    properties.push_back(Add("IFCPROPERTYSINGLEVALUE('Points',$,IFCINTEGER({}),$)", plane.points));
    const std::size_t set = Add("IFCPROPERTYSET('{}',$,'Orvix_Plane',$,{})",
                                GlobalIdOf("properties", {plane}), ListOf(properties));
    const Entity& entity = EntityOf(plane.kind);
    const std::size_t area = Add("IFCQUANTITYAREA('{}',$,$,{:.9E},$)", entity.area, plane.area);
    const std::size_t quantities = Add("IFCELEMENTQUANTITY('{}',$,'{}',$,$,(#{}))",
                                       GlobalIdOf("quantities", {plane}), entity.quantities, area);
    for (const auto& [role, definition] :
         {std::pair{"has properties", set}, std::pair{"has quantities", quantities}})
        Add("IFCRELDEFINESBYPROPERTIES('{}',$,$,$,(#{}),#{})", GlobalIdOf(role, {plane}), element,
            definition);
}

// A face set a region: the faces of a set hang together.
std::size_t IfcModel::PrintPlane(const reports::WorldPlane& plane) {
    std::vector<std::size_t> sets;
    for (const reports::WorldPlane::Region& region : plane.regions)
        sets.push_back(Add("IFCCONNECTEDFACESET((#{}))", PrintFace(region)));
    const std::size_t surface = Add("IFCFACEBASEDSURFACEMODEL({})", ListOf(sets));
    const std::size_t shape =
        Add("IFCSHAPEREPRESENTATION(#{},'Body','SurfaceModel',(#{}))", body_, surface);
    const std::size_t product = Add("IFCPRODUCTDEFINITIONSHAPE($,$,(#{}))", shape);
    const Entity& entity = EntityOf(plane.kind);
    const std::size_t element = Add("{}('{}',$,'Plane {}',$,'{}',#{},#{},'{}',.{}.)", entity.name,
                                    GlobalIdOf("element", {plane}), plane.number, plane.kind,
                                    AddPlacement(placement_), product, plane.number, entity.type);
    PrintProperties(plane, element);
    return element;
}

}  // namespace

void PrintIfc(TextFile& file, const std::vector<reports::WorldPlane>& planes) {
    IfcModel(file, planes).Print();
}

}  // namespace orvix::output
