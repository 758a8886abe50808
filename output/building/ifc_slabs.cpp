// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/plan_measures.h"
#include "orvix/geometry/vector.h"
#include "output/building/element_bytes.h"
#include "output/building/ifc_model.h"

namespace orvix::output {

using building::AreaWithin, building::ElementKind, building::LengthOf, building::PlanRegion;
using detail::Vector;
using std::string;

namespace {

constexpr IfcLook kSlabLook{"Slab", 0.62, 0.62, 0.62, 0};

}  // namespace

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
        gross += AreaWithin(region.outer);
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

}  // namespace orvix::output
