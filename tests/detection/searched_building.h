// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "detection/plane_search.h"
#include "importer/import.h"
#include "orvix/project/project_core.h"
#include "support/scenes/synthetic_building.h"
#include "support/scratch_folder.h"

namespace orvix::detection {

/// Writes a building as a scan and imports it; returns the project.
inline CString ImportBuilding(const test::ScratchFolder& folder,
                              const test::SyntheticBuilding& building) {
    test::WriteScan(building, folder / L"building.las");
    const CString project = folder / L"building.prj";
    EXPECT_TRUE(importer::Import({folder / L"building.las"}, project, {}));
    return project;
}

/// Everything that a search returns, bit by bit.
inline std::vector<double> FingerprintOf(CProjectCore& core, const PlaneSearch& search) {
    std::vector<double> all;
    for (const FoundPlane& plane : search.Planes()) {
        for (const double v : {plane.normal.x, plane.normal.y, plane.normal.z, plane.offset,
                               plane.centre.x, plane.rms, plane.area,
                               static_cast<double>(plane.points), static_cast<double>(plane.kind)})
            all.push_back(v);
        for (const PlaneRegion& region : plane.outline.regions)
            for (const auto& corner : region.outer.points) {
                all.push_back(corner.x);
                all.push_back(corner.y);
            }
    }
    const auto reader = core.CreateAlivePointReader();
    for (std::size_t chunk = 0; chunk < search.Chunks(); ++chunk)
        EXPECT_TRUE(search.ReadChunk(*reader, chunk, [&](const PlanePoints& block) {
            EXPECT_EQ(block.points.size(), block.planes.size());
            all.push_back(static_cast<double>(block.firstRecord));
            all.insert(all.end(), block.planes.begin(), block.planes.end());
        }));
    return all;
}

}  // namespace orvix::detection
