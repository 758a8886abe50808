// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "importer/files/synced_file.h"
#include "importer/files/written_sums.h"
#include "importer/sort/run_merge.h"
#include "importer/write/index_writer.h"
#include "orvix/project/project_manager.h"

namespace orvix::importer {

/// The finished point file and its 100 cm index, to be read back.
struct FinishedGrid {
    const SyncedFile* points = nullptr;
    const SyncedFile* cells100 = nullptr;
    std::uint64_t cellCount = 0;
};

/// Writes merged blocks as the project's point file, Grid.pts, and their cells to its indexes.
///
///     GridWriter grid(frame, IndexWriter::FineLevel::Write);
///     grid.Create(project);  MergeRuns(runs, frame, options, pool, grid);  grid.Finish();
///
/// Errors   those of SyncedFile and IndexWriter.
/// Threads  `Store` on several at once, the rest on one at a time.
class GridWriter final : public MergeSink {
public:
    /// `firstPoint`: the points are a part of the whole that begins there.
    GridWriter(const GridFrame& frame, IndexWriter::FineLevel fineLevel,
               std::uint64_t firstPoint = 0)
        : index_(frame, fineLevel, firstPoint) {}

    Expected<void> Create(const ProjectManager& project);
    /// The same where the point file is there, to be written from the part's place on.
    Expected<void> CreatePart(const ProjectManager& project);
    Expected<void> Commit(MergedBlock& block) override;
    Expected<void> Store(const MergedBlock& block) override;
    /// The same for blocks that cut through no 10 cm cell, of all or of none.
    Expected<void> Commit(MergedBlock& block, WholeCells& cells);
    Expected<void> Store(const MergedBlock& block, WholeCells& cells);
    /// Brings points and indexes to the device; they can be read back from then on.
    Expected<void> Finish();
    /// Closes the files.
    Expected<void> Close();

    [[nodiscard]] std::uint64_t Points() const { return index_.Points(); }
    [[nodiscard]] const Removed& Duplicates() const { return removed_; }
    /// Of the points' blocks, summed while they were stored.
    [[nodiscard]] std::vector<std::uint32_t> Sums() const {
        return sums_.Blocks(Points() * kAlivePointBytes);
    }
    /// Of the points written, for a file that is written in parts.
    [[nodiscard]] const WrittenSums::Pieces& Pieces() const { return sums_.All(); }
    [[nodiscard]] FinishedGrid Finished() const {
        return {&points_, &index_.Cells100(), index_.Cells100Count()};
    }

private:
    void Count(MergedBlock& block);

    SyncedFile points_;
    WrittenSums sums_;
    IndexWriter index_;
    Removed removed_;
};

}  // namespace orvix::importer
