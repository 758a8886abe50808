// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>

#include "building/building_words.h"
#include "output/building/element_bytes.h"
#include "output/building/ifc_model.h"

namespace orvix::output {

using building::ElementKind;
using std::string;

namespace {

constexpr IfcLook kDoorLook{"Door", 0.55, 0.36, 0.2, 0.5};
constexpr IfcLook kWindowLook{"Window", 0.5, 0.7, 0.9, 0.5};
constexpr double kLeaf = 0.04;  // how thick a door's leaf or a window's pane is drawn

}  // namespace

std::size_t BuildingIfc::AddOpening(std::size_t place) {
    const building::Opening& opening = building_.openings[place];
    const building::Wall& wall = building_.walls[opening.wall];
    const string bytes = BytesOf(opening, wall);
    const std::size_t placement = shapes_.AddPlacement(
        placements_[opening.wall], {{opening.along, 0, opening.bottom - wall.base}});
    string shape = "$";  // BEHAVIOUR M3
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

}  // namespace orvix::output
