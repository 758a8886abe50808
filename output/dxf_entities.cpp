// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/dxf_entities.h"

#include <cmath>
#include <utility>

namespace orvix::output {

void PrintDxfHeader(TextFile& file, const std::optional<ExtendsT<double>>& extents) {
    file.Print("0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1009\n");
    if (extents)
        for (const auto& [name, p] :
             {std::pair{"$EXTMIN", extents->min}, std::pair{"$EXTMAX", extents->max}})
            file.Print("9\n{}\n10\n{:.6f}\n20\n{:.6f}\n30\n{:.6f}\n", name, p.x, p.y, p.z);
    file.Print("0\nENDSEC\n");
}

// Of a layer: 70 flags, 62 colour, 6 line type. Readers know CONTINUOUS by its entry alone.
void PrintDxfTables(TextFile& file, const std::vector<DxfLineType>& lineTypes,
                    const std::vector<DxfLayer>& layers) {
    file.Print(
        "0\nSECTION\n2\nTABLES\n0\nTABLE\n2\nLTYPE\n70\n{}\n0\nLTYPE\n2\nCONTINUOUS\n70\n0\n3\n"
        "Solid line\n72\n65\n73\n0\n40\n0.0\n",
        lineTypes.size() + 1);
    for (const DxfLineType& type : lineTypes) {
        double length = 0;
        for (const double dash : type.dashes) length += dash;
        file.Print("0\nLTYPE\n2\n{}\n70\n0\n3\n\n72\n65\n73\n{}\n40\n{:.6f}\n", type.name,
                   type.dashes.size(), length);
        for (std::size_t i = 0; i < type.dashes.size(); ++i)
            file.Print("49\n{:.6f}\n", i % 2 == 0 ? type.dashes[i] : -type.dashes[i]);
    }
    file.Print("0\nENDTAB\n0\nTABLE\n2\nLAYER\n70\n{}\n", layers.size());
    for (const DxfLayer& layer : layers)
        file.Print("0\nLAYER\n2\n{}\n70\n0\n62\n{}\n6\n{}\n", layer.name, layer.colour,
                   layer.lineType);
    file.Print("0\nENDTAB\n0\nENDSEC\n");
}

// Group codes: 66 vertices follow, 70 closed (1) and three-dimensional (8; 32 of a vertex).
void PrintDxfPath(TextFile& file, const std::string& layer,
                  const std::vector<SimplePointT<double>>& points, DxfPath kind) {
    const bool space = kind == DxfPath::ClosedInSpace;
    file.Print("0\nPOLYLINE\n8\n{}\n66\n1\n10\n0.0\n20\n0.0\n30\n0.0\n70\n{}\n", layer,
               space                           ? 9
               : kind == DxfPath::ClosedOnPlan ? 1
                                               : 0);
    for (const auto& p : points) {
        file.Print("0\nVERTEX\n8\n{}\n10\n{:.6f}\n20\n{:.6f}\n", layer, p.x, p.y);
        if (space) file.Print("30\n{:.6f}\n70\n32\n", p.z);
    }
    file.Print("0\nSEQEND\n8\n{}\n", layer);
}

}  // namespace orvix::output
