// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/building/element_bytes.h"

#include "output/ifc/global_id.h"

namespace orvix::output {

namespace {

void Append(std::string& bytes, const building::PlanRing& ring) {
    AppendBytes(bytes, std::uint64_t{ring.size()});
    for (const building::PlanPoint& p : ring) {
        AppendBytes(bytes, p.x);
        AppendBytes(bytes, p.y);
    }
}

void Append(std::string& bytes, const building::PlanRegion& region) {
    Append(bytes, region.outer);
    AppendBytes(bytes, std::uint64_t{region.holes.size()});
    for (const building::PlanRing& hole : region.holes) Append(bytes, hole);
}

void Append(std::string& bytes, const std::optional<building::Measure>& measure) {
    AppendBytes(bytes, std::uint64_t{measure.has_value()});
    AppendBytes(bytes, measure ? measure->value : 0.0);
}

}  // namespace

// BEHAVIOUR M2
std::string BytesOf(const building::Storey& storey) {
    std::string bytes = "storey " + storey.name;
    AppendBytes(bytes, storey.elevation);
    AppendBytes(bytes, storey.ceiling);
    return bytes;
}

std::string BytesOf(const building::Wall& wall) {
    std::string bytes = "wall ";
    Append(bytes, {wall.axis[0], wall.axis[1]});
    Append(bytes, wall.profile);
    Append(bytes, wall.thickness);
    return bytes;
}

std::string BytesOf(const building::Opening& opening, const building::Wall& wall) {
    std::string bytes = "opening " + BytesOf(wall);
    AppendBytes(bytes, static_cast<std::uint64_t>(opening.kind));
    for (const double value :
         {opening.along, opening.bottom, opening.width.value, opening.height.value})
        AppendBytes(bytes, value);
    return bytes;
}

std::string BytesOf(const building::Slab& slab) {
    std::string bytes = "slab ";
    for (const building::PlanRegion& region : slab.regions) Append(bytes, region);
    Append(bytes, slab.top);
    Append(bytes, slab.bottom);
    return bytes;
}

std::string BytesOf(const building::Room& room) {
    std::string bytes = "room ";
    Append(bytes, room.plan);
    AppendBytes(bytes, room.floor);
    AppendBytes(bytes, room.ceiling);
    return bytes;
}

std::string BytesOf(const building::RoofSlope& slope) {
    std::string bytes = "slope ";
    for (const auto& p : slope.outline)
        for (const double value : {p.x, p.y, p.z}) AppendBytes(bytes, value);
    Append(bytes, slope.thickness);
    return bytes;
}

std::string BytesOf(const building::Building& building) {
    std::string bytes;
    for (const auto& storey : building.storeys) bytes += BytesOf(storey);
    for (const auto& wall : building.walls) bytes += BytesOf(wall);
    for (const auto& opening : building.openings)
        bytes += BytesOf(opening, building.walls[opening.wall]);
    for (const auto& slab : building.slabs) bytes += BytesOf(slab);
    for (const auto& room : building.rooms) bytes += BytesOf(room);
    for (const auto& slope : building.slopes) bytes += BytesOf(slope);
    return bytes;
}

}  // namespace orvix::output
