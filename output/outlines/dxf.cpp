// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <map>

#include "orvix/geometry/bounds.h"
#include "orvix/geometry/rings.h"
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

// The extents, so that a viewer finds the drawing at once however far from zero it is.
void PrintHeader(TextFile& file, const std::vector<reports::WorldPlane>& planes) {
    ExtendsT<double> box;
    bool empty = true;
    const auto include = [&](const reports::WorldPlane::Ring& ring) {
        for (const auto& p : ring) {
            if (empty) box = {p, p};
            empty = false;
            detail::Extend(box, p);
        }
    };
    for (const reports::WorldPlane& plane : planes) detail::ForEachRing(plane, include);
    file.Print("0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1009\n");
    if (!empty)
        for (const auto& [name, p] : {std::pair{"$EXTMIN", box.min}, std::pair{"$EXTMAX", box.max}})
            file.Print("9\n{}\n10\n{:.6f}\n20\n{:.6f}\n30\n{:.6f}\n", name, p.x, p.y, p.z);
    file.Print("0\nENDSEC\n");
}

// Of a layer: 70 flags, 62 colour, 6 line type. Readers know CONTINUOUS by its entry alone.
void PrintTables(TextFile& file, const std::vector<reports::WorldPlane>& planes) {
    std::map<std::string, int> layers;
    for (const reports::WorldPlane& plane : planes) layers[LayerOf(plane)] = ColourOf(plane.kind);
    file.Print(
        "0\nSECTION\n2\nTABLES\n0\nTABLE\n2\nLTYPE\n70\n1\n0\nLTYPE\n2\nCONTINUOUS\n70\n0\n3\n"
        "Solid line\n72\n65\n73\n0\n40\n0.0\n0\nENDTAB\n0\nTABLE\n2\nLAYER\n70\n{}\n",
        layers.size());
    for (const auto& [layer, colour] : layers)
        file.Print("0\nLAYER\n2\n{}\n70\n0\n62\n{}\n6\nCONTINUOUS\n", layer, colour);
    file.Print("0\nENDTAB\n0\nENDSEC\n");
}

// Group codes: 66 vertices follow, 70 closed (1) and three-dimensional (8; 32 of a vertex).
void PrintRing(TextFile& file, const std::string& layer, const reports::WorldPlane::Ring& ring) {
    file.Print("0\nPOLYLINE\n8\n{}\n66\n1\n10\n0.0\n20\n0.0\n30\n0.0\n70\n9\n", layer);
    for (const auto& p : ring)
        file.Print("0\nVERTEX\n8\n{}\n10\n{:.6f}\n20\n{:.6f}\n30\n{:.6f}\n70\n32\n", layer, p.x,
                   p.y, p.z);
    file.Print("0\nSEQEND\n8\n{}\n", layer);
}

}  // namespace

void PrintDxf(TextFile& file, const std::vector<reports::WorldPlane>& planes) {
    PrintHeader(file, planes);
    PrintTables(file, planes);
    file.Print("0\nSECTION\n2\nENTITIES\n");
    for (const reports::WorldPlane& plane : planes)
        detail::ForEachRing(plane, [&](const reports::WorldPlane::Ring& ring) {
            PrintRing(file, LayerOf(plane), ring);
        });
    file.Print("0\nENDSEC\n0\nEOF\n");
}

}  // namespace orvix::output
