// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "orvix/project/check/check_cells.h"
#include "orvix/project/check/clean_stretches.h"

namespace orvix::detail {

/// The three files that hold the skeleton's points, opened.
struct SkeletonFiles {
    const RecordFile<SimplePointT<float>>& points;
    const RecordFile<CPointDataFull>& data;
    const RecordFile<GridCellRecord>& cells;  ///< view_entries.dtv: a run for each 100 cm cell
};

/// Checks that every skeleton point is a point of the cloud: one of its 100 cm cell has the same
/// coordinates, bit by bit, and one of those the same intensity, colour, class and station as the
/// skeleton's data record. DCLC pairs are the host's, which sets them in either file alone, and are
/// not compared.
///
/// Boundaries ends at the first cell whose entries in the two indexes name different cells or do
///            not continue their files: CheckSameCells and CheckRuns report that.
/// Cost       reads the alive points of stretches that are not clean once more, in file order; memory
///            for the skeleton points of one cell, 262,144 at a time.
void CheckSkeletonData(CheckLog& log, const SkeletonFiles& skeleton, const GridFiles& grid,
                       const std::vector<CellStretch>& stretches);

}  // namespace orvix::detail
