// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/project/check/check_cells.h"
#include "orvix/project/project_manager.h"

namespace orvix::detail {

/// The grid's files, opened.
struct GridFiles {
    GridFiles(const ProjectManager& paths, bool withFineLevel, CheckLog& log)
        : points(paths.gridPts, log),
          cells1000(paths.grid1000cmIdx, log),
          cells100(paths.gridIdx, log),
          fineLevel(withFineLevel),
          runs10(withFineLevel ? RecordFile<CIndexerSmall>(paths.grid1to10cmIdx, log)
                               : RecordFile<CIndexerSmall>()),
          cells10(withFineLevel ? RecordFile<FineCellRecord>(paths.grid10cmIdx, log)
                                : RecordFile<FineCellRecord>()) {}

    RecordFile<CCloudPoint<float>> points;
    RecordFile<GridCellRecord> cells1000;
    RecordFile<GridCellRecord> cells100;
    bool fineLevel;  ///< the two below are opened and belong to the project
    RecordFile<CIndexerSmall> runs10;
    RecordFile<FineCellRecord> cells10;
};

}  // namespace orvix::detail
