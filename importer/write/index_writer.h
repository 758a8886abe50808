// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>

#include "importer/files/synced_file.h"
#include "importer/grid/grid_frame.h"
#include "orvix/points/records.h"
#include "orvix/project/project_manager.h"

namespace orvix::importer {

/// Writes the four grid indexes from the 10 cm cells of Grid.pts, added in their order.
///
///     IndexWriter index(frame, FineLevel::Write);
///     index.Create(manager);  index.Add(cells) ... ;  index.Finish();
///
/// Order      a cell added in several parts, one after the other, is one cell.
/// Boundaries a cell of more than 4,294,967,295 points or a level of more entries is a failure: an
///            index record holds no larger number.
/// Threads    one at a time.
class IndexWriter {
public:
    /// Whether there is a 10 cm level: Grid10cm.idx and Grid1to10cm.idx.
    enum class FineLevel { Write, Omit };

    /// `firstPoint` is the number of the first cell's first point: an index of a part of the points
    /// counts points as in the whole, and cells from 0.
    IndexWriter(const GridFrame& frame, FineLevel fineLevel, std::uint64_t firstPoint = 0)
        : frame_(frame), fineLevel_(fineLevel), points_(firstPoint) {}

    Expected<void> Create(const ProjectManager& project);
    Expected<void> Add(std::span<const CellCount> cells);
    /// Ends the last cells and brings the files to the device.
    Expected<void> Finish();
    /// Closes the files.
    Expected<void> Close();

    /// The number of the next cell's first point.
    [[nodiscard]] std::uint64_t Points() const { return points_; }
    /// The 100 cm index, to be read back after `Finish`.
    [[nodiscard]] const SyncedFile& Cells100() const { return metres_.File(); }
    [[nodiscard]] std::uint64_t Cells100Count() const { return metres_.Count(); }

private:
    Expected<void> Open(const SortKey& key);
    Expected<void> CloseFine();
    Expected<void> CloseMetre();
    Expected<void> CloseBlock();

    GridFrame frame_;
    FineLevel fineLevel_;
    RecordWriter<GridCellRecord> blocks_;  // 1000 cm
    RecordWriter<GridCellRecord> metres_;  // 100 cm
    RecordWriter<FineCellRecord> fines_;   // 10 cm
    RecordWriter<CIndexerSmall> fineRuns_;
    bool started_ = false;
    SortKey key_;  // of the open cells
    GridCellRecord block_;
    GridCellRecord metre_;
    FineCellRecord fine_;
    CIndexerSmall fineRun_;
    std::uint64_t points_;  // before the next cell
};

}  // namespace orvix::importer
