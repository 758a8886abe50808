// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>

#include "orvix/points/grid_cells.h"
#include "orvix/points/records.h"
#include "orvix/project/check/check_records.h"

namespace orvix::detail {

/// A cell of either level along the three axes; cells are ordered by x, then y, then z.
using CellKey = std::array<std::int32_t, 3>;

template <class Cell>
CellKey KeyOf(const Cell& cell) {
    return {cell.x, cell.y, cell.z};
}

inline CellKey Cell100Of(const std::array<AxisCell, 3>& axes) {
    return {axes[0].cell100, axes[1].cell100, axes[2].cell100};
}

inline CellKey Cell10Of(const std::array<AxisCell, 3>& axes) {
    return {axes[0].cell10, axes[1].cell10, axes[2].cell10};
}

/// Whether a coordinate is a finite number that has a cell.
inline bool HasCell(float coordinate) {
    return coordinate > -2147483648.0F && coordinate < 2147483648.0F;
}

template <class Point>
bool HasCell(const Point& point) {
    return HasCell(point.x) && HasCell(point.y) && HasCell(point.z);
}

/// Precondition: `HasCell(point)`.
template <class Point>
std::array<AxisCell, 3> CellsOf(const Point& point) {
    return {CellOf(point.x), CellOf(point.y), CellOf(point.z)};
}

/// Whether the runs of a file are sound: no run is empty, they follow each other without a gap,
/// and together they are exactly the `total` records of the target. Names the faults, padding
/// that is not zero among them.
///
/// Shape   `Record` has `offset`, `count` and padding: GridCellRecord, FineCellRecord,
///         CIndexerSmall.
template <class Record>
bool CheckRuns(CheckLog& log, const RecordFile<Record>& runs, std::uint64_t total,
               const char* target);

/// Whether 1000 cm cells and the 100 cm cells of their runs ascend and nest.
/// Precondition: the runs are sound.
void CheckNesting(CheckLog& log, const RecordFile<GridCellRecord>& cells1000,
                  const RecordFile<GridCellRecord>& cells100);

/// Whether the 10 cm cells of each 100 cm cell ascend within 0..9 and cover its points.
/// Precondition: all three files' runs are sound, and there is one run for each 100 cm cell.
void CheckFineCells(CheckLog& log, const RecordFile<GridCellRecord>& cells100,
                    const RecordFile<CIndexerSmall>& runs10,
                    const RecordFile<FineCellRecord>& cells10);

/// Whether two indexes list the same cells.
void CheckSameCells(CheckLog& log, const RecordFile<GridCellRecord>& view,
                    const RecordFile<GridCellRecord>& grid);

}  // namespace orvix::detail
