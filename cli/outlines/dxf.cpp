// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/outlines/outline_formats.h"

namespace orvix::cli {

namespace {

std::string LayerOf(const WorldPlane& plane) {
    std::string layer = "ORVIX_" + plane.kind;
    for (char& c : layer) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    return layer;
}

// Group codes: 66 vertices follow, 70 closed (1) and three-dimensional (8; 32 of a vertex).
void PrintRing(TextFile& file, const std::string& layer, const WorldPlane::Ring& ring) {
    file.Print("0\nPOLYLINE\n8\n{}\n66\n1\n10\n0.0\n20\n0.0\n30\n0.0\n70\n9\n", layer);
    for (const auto& p : ring)
        file.Print("0\nVERTEX\n8\n{}\n10\n{:.6f}\n20\n{:.6f}\n30\n{:.6f}\n70\n32\n", layer, p.x,
                   p.y, p.z);
    file.Print("0\nSEQEND\n8\n{}\n", layer);
}

}  // namespace

void PrintDxf(TextFile& file, const std::vector<WorldPlane>& planes) {
    file.Print("0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1009\n0\nENDSEC\n");
    file.Print("0\nSECTION\n2\nENTITIES\n");
    for (const WorldPlane& plane : planes) {
        for (const WorldPlane::Region& region : plane.regions) {
            PrintRing(file, LayerOf(plane), region.outer);
            for (const WorldPlane::Ring& hole : region.holes) PrintRing(file, LayerOf(plane), hole);
        }
    }
    file.Print("0\nENDSEC\n0\nEOF\n");
}

}  // namespace orvix::cli
