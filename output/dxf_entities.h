// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "orvix/points/records.h"
#include "output/text_file.h"

namespace orvix::output {

/// Parts of a DXF file (R12, which every reader knows): pairs of lines, a group code and its value.

struct DxfLineType {
    std::string name;
    std::vector<double> dashes;  ///< drawn and left out in turn, in units of the drawing
};

struct DxfLayer {
    std::string name;
    int colour = 7;  ///< of the colour index
    std::string lineType = "CONTINUOUS";
};

enum class DxfPath { OpenOnPlan, ClosedOnPlan, ClosedInSpace };

/// The version, and the extents, so that a viewer finds the drawing at once however far from zero it is.
void PrintDxfHeader(TextFile& file, const std::optional<ExtendsT<double>>& extents);
/// CONTINUOUS and these line types, and the layers.
void PrintDxfTables(TextFile& file, const std::vector<DxfLineType>& lineTypes,
                    const std::vector<DxfLayer>& layers);
/// A polyline; heights of one on a plan are left out.
void PrintDxfPath(TextFile& file, const std::string& layer,
                  const std::vector<SimplePointT<double>>& points, DxfPath kind);

}  // namespace orvix::output
