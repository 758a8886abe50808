// SPDX-License-Identifier: GPL-3.0-or-later
#include <nlohmann/json.hpp>

#include "output/outlines/outline_formats.h"

namespace orvix::output {

namespace {

using Json = nlohmann::ordered_json;

// GeoJSON repeats a ring's first position at its end, and has outer rings counter-clockwise on the
// map, whichever side the plane looks to.
Json JsonOf(const reports::WorldPlane& plane, const reports::WorldPlane::Ring& ring) {
    Json json = Json::array();
    const bool looksDown = plane.equation[2] < 0;
    for (std::size_t i = 0; i <= ring.size(); ++i) {
        const auto& p = ring[(looksDown ? ring.size() - i : i) % ring.size()];
        json.push_back(Json::array({p.x, p.y, p.z}));
    }
    return json;
}

Json JsonOf(const reports::WorldPlane& plane) {
    Json polygons = Json::array();
    for (const reports::WorldPlane::Region& region : plane.regions) {
        Json rings = Json::array({JsonOf(plane, region.outer)});
        for (const reports::WorldPlane::Ring& hole : region.holes)
            rings.push_back(JsonOf(plane, hole));
        polygons.push_back(rings);
    }
    const Json properties{{"number", plane.number},      {"class", plane.kind},
                          {"equation", plane.equation},  {"area", plane.area},
                          {"points", plane.points},      {"rms", plane.rms},
                          {"tolerance", plane.tolerance}};
    return Json{{"type", "Feature"},
                {"id", plane.number},
                {"properties", properties},
                {"geometry", Json{{"type", "MultiPolygon"}, {"coordinates", polygons}}}};
}

}  // namespace

void PrintGeoJson(TextFile& file, const std::vector<reports::WorldPlane>& planes) {
    // The null says, as GeoJSON of 2008 has it, that no coordinate system can be assumed.
    file.Print("{{\"type\": \"FeatureCollection\", \"crs\": null, \"features\": [");
    for (std::size_t i = 0; i < planes.size(); ++i)
        file.Print("{}\n{}", i == 0 ? "" : ",", JsonOf(planes[i]).dump());
    file.Print("\n]}}\n");
}

}  // namespace orvix::output
