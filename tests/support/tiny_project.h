// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "orvix/platform/text.h"
#include "orvix/points/records.h"
#include "orvix/project/cloud_header.h"
#include "orvix/project/transform_file.h"
#include "orvix/project/view_records.h"

namespace orvix::test {

/// Every record of a project, built in memory by sorting and grouping the whole cloud: slow,
/// short, and independent of the importer, so that it serves as an oracle for its files.
struct TinyProject {
    std::vector<CCloudPoint<float>> points;
    std::vector<GridCellRecord> cells1000;
    std::vector<GridCellRecord> cells100;
    std::vector<CIndexerSmall> runs10;
    std::vector<FineCellRecord> cells10;
    std::vector<SimplePointT<float>> skeleton;
    std::vector<CPointDataFull> skeletonData;
    std::vector<detail::SkeletonBlockRecord> viewBlocks;
    std::vector<detail::SkeletonCellRecord> viewCells;
    std::vector<detail::CoarseViewRecord> coarse;
    CLOUD_HEADER head;
    detail::LocalToWorld frame;
};

/// `scale` is 0.01, 0.1 or 1.0. Points of one 10 cm cell keep their order.
TinyProject MakeTinyProject(std::vector<CCloudPoint<float>> points, double scale = 0.1,
                            const SimplePointT<double>& origin = {});

/// Writes a complete project: folders, every file, the project file with default settings.
void WriteTinyProject(const TinyProject& project, const CString& projectFile);

/// A few hundred points around the origin, on both sides of every axis, in several cells of each
/// level, in an order that a seed decides.
std::vector<CCloudPoint<float>> RoomPoints(std::uint32_t seed, std::size_t count = 600);

}  // namespace orvix::test
