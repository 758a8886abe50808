// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "orvix/project/check/check_cells.h"
#include "orvix/project/project_manager.h"

namespace orvix::detail {

/// The grid's files, opened.
struct GridFiles {
    GridFiles(const ProjectManager& paths, bool withFineLevel, CheckLog& log);

    RecordFile<CCloudPoint<float>> points;
    RecordFile<GridCellRecord> cells1000;
    RecordFile<GridCellRecord> cells100;
    bool fineLevel;  ///< the two below are opened and belong to the project
    RecordFile<CIndexerSmall> runs10;
    RecordFile<FineCellRecord> cells10;
};

/// Checks the grid: index levels against each other, every point against its cells, and the
/// header's count, bounds and stations against the points.
void CheckGrid(CheckLog& log, const GridFiles& grid, const CString& headPath,
               const CLOUD_HEADER& head);

}  // namespace orvix::detail
