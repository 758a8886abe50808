// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "importer/import_pool.h"
#include "importer/sort/block_sorter.h"
#include "importer/sort/duplicates.h"
#include "importer/sort/sorted_run.h"

namespace orvix::importer {

/// A stretch of the merged order: whole 10 cm cells, or a part of one.
struct MergeTask {
    SortKey low;                     ///< every cell from here on ...
    SortKey high;                    ///< ... to before here
    const SortedRun* run = nullptr;  ///< set: points of the one cell `low` from this run alone,
    std::uint64_t first = 0;         ///< from here on ...
    std::uint64_t count = 0;         ///< ... this many
    /// Of the cell's points, which are to be left out (null: none), and the run's first among them.
    std::shared_ptr<const std::vector<bool>> duplicates;
    std::uint64_t firstInCell = 0;
};

/// What a sink makes of the blocks that one thread merges; it stays from block to block.
struct SinkWork {
    virtual ~SinkWork() = default;
};

/// A stretch of points in their final order, with the buffers that it was made in.
struct MergedBlock {
    MergeTask task;
    std::uint64_t offset = 0;  ///< its first point's number; set by the sink's Commit
    RawBuffer<AlivePoint> points;
    std::vector<CellCount> cells;
    Removed removed;
    SinkWork* work = nullptr;  ///< the sink's own; null until it makes one

    RawBuffer<AlivePoint> gathered;
    BlockSorter sorter;
};

/// Where merged blocks go.
class MergeSink {
public:
    virtual ~MergeSink() = default;
    /// Once, before the first block. Whether each block holds whole 10 cm cells.
    virtual Expected<void> Begin(bool /*wholeCells*/) { return {}; }
    /// On several threads at once, before Commit, while the block is in cache.
    virtual void Prepare(MergedBlock& /*block*/) {}
    /// One at a time, in order.
    virtual Expected<void> Commit(MergedBlock& block) = 0;
    /// On several threads at once, after Commit.
    virtual Expected<void> Store(const MergedBlock& block) = 0;
};

/// How runs are merged.
struct MergeOptions {
    std::uint64_t blockPoints = 0;  ///< to aim at per block (memory_plan.h says what each takes)
    bool removeDuplicates = false;
    SortKey low = kFirstKey;  ///< points of cells from here on ...
    SortKey high = kEndKey;   ///< ... to before here
};

/// Merges runs into one order and hands the points to a sink, block by block.
///
/// The keys sampled along the runs divide the order into ranges of whole cells that certainly hold
/// no more than a block's points; a range's points are copied out of all runs, in run order, and
/// sorted in cache. A cell of more points than a block is handed on in parts, run by run: its
/// points are in order already.
///
/// Order   by cell; in a cell by run, then by place in the run.
/// Errors  those of reading the runs and of the sink; Cancelled.
/// Cost    every point is read once and sorted once; where duplicates are removed, the points of a
///         cell of more than a block are read more often.
Expected<void> MergeRuns(const std::vector<SortedRun>& runs, const GridFrame& frame,
                         const MergeOptions& options, ImportPool& pool, MergeSink& sink);

}  // namespace orvix::importer
