// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>
#include <cmath>
#include <map>

#include "cli/outlines/outline_formats.h"

namespace orvix::cli {

namespace {

using Vector = SimplePointT<double>;

std::string ListOf(const std::vector<std::size_t>& ids) {
    std::string list = "(";
    for (const std::size_t id : ids) list += fmt::format("{}#{}", list.size() > 1 ? "," : "", id);
    return list + ")";
}

// What a plane of a class becomes: an entity and its predefined type.
std::pair<const char*, const char*> EntityOf(const std::string& kind) {
    static const std::map<std::string, std::pair<const char*, const char*>> kEntities{
        {"floor", {"IFCSLAB", "FLOOR"}},
        {"roof", {"IFCSLAB", "ROOF"}},
        {"ceiling", {"IFCCOVERING", "CEILING"}},
        {"wall", {"IFCWALL", "NOTDEFINED"}}};
    const auto found = kEntities.find(kind);
    if (found != kEntities.end()) return found->second;
    return {"IFCBUILDINGELEMENTPROXY", "NOTDEFINED"};
}

class IfcModel {
public:
    IfcModel(TextFile& file, double tolerance) : file_(file), tolerance_(tolerance) {}

    void Print(const std::vector<WorldPlane>& planes) {
        file_.Print(
            "ISO-10303-21;\nHEADER;\n"
            "FILE_DESCRIPTION(('ViewDefinition [ReferenceView_V1.2]'),'2;1');\n"
            "FILE_NAME('planes.ifc','1970-01-01T00:00:00',(''),(''),'orvix','orvix','');\n"
            "FILE_SCHEMA(('IFC4'));\nENDSEC;\nDATA;\n");
        PrintProject(planes);
        std::vector<std::size_t> elements;
        for (const WorldPlane& plane : planes) elements.push_back(PrintPlane(plane));
        if (!elements.empty())
            Add("IFCRELCONTAINEDINSPATIALSTRUCTURE('{}',$,$,$,{},#{})", NextGuid(),
                ListOf(elements), building_);
        file_.Print("ENDSEC;\nEND-ISO-10303-21;\n");
    }

private:
    template <class... Arguments>
    std::size_t Add(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
        file_.Print("#{}={};\n", ++last_,
                    fmt::format(format, std::forward<Arguments>(arguments)...));
        return last_;
    }
    // 22 digits of IFC's alphabet, the first of which is 0 to 3.
    std::string NextGuid() {
        static constexpr char kDigits[] =
            "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_$";
        std::string guid;
        std::uint64_t state = ++guids_ * 0x9E3779B97F4A7C15ULL;
        for (std::size_t i = 0; i < 22; ++i) {
            state ^= state >> 29;
            state *= 0xBF58476D1CE4E5B9ULL;
            state ^= state >> 32;
            guid += kDigits[i == 0 ? state % 4 : state % 64];
        }
        return guid;
    }
    std::size_t AddPoint(const Vector& p) {
        return Add("IFCCARTESIANPOINT(({:.5f},{:.5f},{:.5f}))", p.x, p.y, p.z);
    }
    std::size_t AddPlacement(std::size_t parent, const Vector& at) {
        const std::size_t axis = Add("IFCAXIS2PLACEMENT3D(#{},$,$)", AddPoint(at));
        return parent == 0 ? Add("IFCLOCALPLACEMENT($,#{})", axis)
                           : Add("IFCLOCALPLACEMENT(#{},#{})", parent, axis);
    }
    void PrintProject(const std::vector<WorldPlane>& planes);
    std::size_t PrintPlane(const WorldPlane& plane);
    std::size_t PrintFace(const WorldPlane::Region& region);
    std::size_t PrintLoop(const WorldPlane::Ring& ring);
    void PrintProperties(const WorldPlane& plane, std::size_t element);

    TextFile& file_;
    double tolerance_;
    std::size_t last_ = 0;
    std::uint64_t guids_ = 0;
    std::size_t context_ = 0;
    std::size_t placement_ = 0;
    std::size_t building_ = 0;
    Vector origin_;  // of the site, whole metres
};

void IfcModel::PrintProject(const std::vector<WorldPlane>& planes) {
    if (!planes.empty()) {
        const Vector& c = planes[0].centroid;
        origin_ = {std::floor(c.x), std::floor(c.y), std::floor(c.z)};
    }
    const std::size_t axis = Add("IFCAXIS2PLACEMENT3D(#{},$,$)", AddPoint({}));
    context_ = Add("IFCGEOMETRICREPRESENTATIONCONTEXT($,'Model',3,1.E-5,#{},$)", axis);
    std::vector<std::size_t> units;
    for (const auto& [quantity, unit] :
         {std::pair{"LENGTHUNIT", "METRE"}, std::pair{"AREAUNIT", "SQUARE_METRE"},
          std::pair{"VOLUMEUNIT", "CUBIC_METRE"}, std::pair{"PLANEANGLEUNIT", "RADIAN"}})
        units.push_back(Add("IFCSIUNIT(*,.{}.,$,.{}.)", quantity, unit));
    const std::size_t assignment = Add("IFCUNITASSIGNMENT({})", ListOf(units));
    const std::size_t project =
        Add("IFCPROJECT('{}',$,'Planes',$,$,$,$,(#{}),#{})", NextGuid(), context_, assignment);
    const std::size_t sitePlacement = AddPlacement(0, origin_);
    const std::size_t site =
        Add("IFCSITE('{}',$,'Site',$,$,#{},$,$,.ELEMENT.,$,$,$,$,$)", NextGuid(), sitePlacement);
    placement_ = AddPlacement(sitePlacement, {});
    building_ =
        Add("IFCBUILDING('{}',$,'Scan',$,$,#{},$,$,.ELEMENT.,$,$,$)", NextGuid(), placement_);
    Add("IFCRELAGGREGATES('{}',$,$,$,#{},(#{}))", NextGuid(), project, site);
    Add("IFCRELAGGREGATES('{}',$,$,$,#{},(#{}))", NextGuid(), site, building_);
}

std::size_t IfcModel::PrintLoop(const WorldPlane::Ring& ring) {
    std::vector<std::size_t> corners;
    for (const Vector& p : ring)
        corners.push_back(AddPoint({p.x - origin_.x, p.y - origin_.y, p.z - origin_.z}));
    return Add("IFCPOLYLOOP({})", ListOf(corners));
}

std::size_t IfcModel::PrintFace(const WorldPlane::Region& region) {
    std::vector<std::size_t> bounds{Add("IFCFACEOUTERBOUND(#{},.T.)", PrintLoop(region.outer))};
    for (const WorldPlane::Ring& hole : region.holes)
        bounds.push_back(Add("IFCFACEBOUND(#{},.T.)", PrintLoop(hole)));
    return Add("IFCFACE({})", ListOf(bounds));
}

void IfcModel::PrintProperties(const WorldPlane& plane, std::size_t element) {
    std::vector<std::size_t> properties;
    for (const auto& [name, type, value] :
         {std::tuple{"Tolerance", "IFCPOSITIVELENGTHMEASURE", tolerance_},
          std::tuple{"Rms", "IFCLENGTHMEASURE", plane.rms},
          std::tuple{"Area", "IFCAREAMEASURE", plane.area}})
        properties.push_back(Add("IFCPROPERTYSINGLEVALUE('{}',$,{}({:.6f}),$)", name, type, value));
    properties.push_back(Add("IFCPROPERTYSINGLEVALUE('Points',$,IFCINTEGER({}),$)", plane.points));
    const std::size_t set =
        Add("IFCPROPERTYSET('{}',$,'Orvix_Plane',$,{})", NextGuid(), ListOf(properties));
    Add("IFCRELDEFINESBYPROPERTIES('{}',$,$,$,(#{}),#{})", NextGuid(), element, set);
}

std::size_t IfcModel::PrintPlane(const WorldPlane& plane) {
    std::vector<std::size_t> faces;
    for (const WorldPlane::Region& region : plane.regions) faces.push_back(PrintFace(region));
    const std::size_t set = Add("IFCCONNECTEDFACESET({})", ListOf(faces));
    const std::size_t surface = Add("IFCFACEBASEDSURFACEMODEL((#{}))", set);
    const std::size_t shape =
        Add("IFCSHAPEREPRESENTATION(#{},'Body','SurfaceModel',(#{}))", context_, surface);
    const std::size_t product = Add("IFCPRODUCTDEFINITIONSHAPE($,$,(#{}))", shape);
    const auto& [entity, type] = EntityOf(plane.kind);
    const std::size_t element =
        Add("{}('{}',$,'Plane {}',$,'{}',#{},#{},'{}',.{}.)", entity, NextGuid(), plane.number,
            plane.kind, AddPlacement(placement_, {}), product, plane.number, type);
    PrintProperties(plane, element);
    return element;
}

}  // namespace

void PrintIfc(TextFile& file, const std::vector<WorldPlane>& planes, double tolerance) {
    IfcModel(file, tolerance).Print(planes);
}

}  // namespace orvix::cli
