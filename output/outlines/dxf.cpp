// SPDX-License-Identifier: GPL-3.0-or-later
#include <map>
#include <optional>

#include "orvix/geometry/bounds.h"
#include "orvix/geometry/rings.h"
#include "output/dxf_entities.h"
#include "output/outlines/outline_formats.h"

namespace orvix::output {

namespace {

std::string LayerOf(const reports::WorldPlane& plane) {
    std::string layer = "ORVIX_" + plane.kind;
    for (char& c : layer) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    return layer;
}

// Numbers of the colour index.
int ColourOf(const std::string& kind) {
    static const std::map<std::string, int> kColours{
        {"floor", 3}, {"ceiling", 4}, {"wall", 2}, {"roof", 1}};
    const auto found = kColours.find(kind);
    return found != kColours.end() ? found->second : 6;
}

}  // namespace

void PrintDxf(TextFile& file, const std::vector<reports::WorldPlane>& planes) {
    std::optional<ExtendsT<double>> box;
    std::map<std::string, int> colours;
    for (const reports::WorldPlane& plane : planes) {
        colours[LayerOf(plane)] = ColourOf(plane.kind);
        detail::ForEachRing(plane, [&box](const reports::WorldPlane::Ring& ring) {
            for (const auto& p : ring) {
                if (!box) box = {p, p};
                detail::Extend(*box, p);
            }
        });
    }
    std::vector<DxfLayer> layers;
    for (const auto& [name, colour] : colours) layers.push_back({name, colour});
    PrintDxfHeader(file, box);
    PrintDxfTables(file, {}, layers);
    file.Print("0\nSECTION\n2\nENTITIES\n");
    for (const reports::WorldPlane& plane : planes)
        detail::ForEachRing(plane, [&](const reports::WorldPlane::Ring& ring) {
            PrintDxfPath(file, LayerOf(plane), ring, DxfPath::ClosedInSpace);
        });
    file.Print("0\nENDSEC\n0\nEOF\n");
}

}  // namespace orvix::output
