// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "importer/files/synced_file.h"
#include "importer/grid/grid_frame.h"
#include "orvix/points/records.h"
#include "orvix/project/project_manager.h"

namespace orvix::importer {

/// The cells of a stretch of points that cuts through none of 10 cm, as the indexes hold them.
struct WholeCells {
    struct Metre {
        SortKey key;  ///< of its first 10 cm cell
        std::uint64_t points = 0;
        std::uint32_t fines = 0;
    };

    /// Replaces what was there; on any thread.
    void Make(std::span<const CellCount> cells);

    std::vector<Metre> metres;
    std::vector<FineCellRecord> fines;  ///< their offsets count from the stretch's first point
    std::uint64_t firstPoint = 0;       ///< set by Enter
    std::uint64_t firstFine = 0;        ///< set by Enter
};

/// Writes the four grid indexes from the 10 cm cells of Grid.pts, added in their order.
///
///     IndexWriter index(frame, FineLevel::Write);
///     index.Create(manager);  index.Add(cells) ... ;  index.Finish();
///
/// Where stretches cut through no 10 cm cell, threads share the work instead: `cells.Make` on each,
/// `Enter` in order, `Store` on each. The files are the same.
///
/// Order      a cell added in several parts, one after the other, is one cell.
/// Boundaries a cell of more than 4,294,967,295 points or a level of more entries is a failure: an
///            index record holds no larger number.
/// Threads    one at a time, but for `Store`.
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
    /// Precondition: FineLevel::Write, and `Add` is not used.
    Expected<void> Enter(WholeCells& cells);
    /// Writes the 10 cm cells of entered stretches.
    Expected<void> Store(WholeCells& cells);
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
    Expected<void> OpenMetre(const SortKey& key, std::uint64_t firstFine);
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
