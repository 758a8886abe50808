// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "importer/write/grid_writer.h"
#include "importer/write/skeleton_writer.h"

namespace orvix::importer {

/// Writes merged blocks as points, indexes and skeleton in one pass.
///
///     CloudSink sink(frame, size, grid, skeleton, summary);
///     MergeRuns(runs, frame, options, pool, sink);  grid.Finish();  sink.FinishSkeleton();
///
/// The skeleton is thinned while blocks are in cache. Where blocks do not hold its cells whole
/// (a skeleton of 1 m; a 10 cm cell of more than a block's points), `FinishSkeleton` reads the
/// points back; the files are the same.
///
/// Errors    those of the files; Cancelled.
/// Lifetime  it borrows all that it is given.
/// Threads   as a MergeSink.
class CloudSink final : public MergeSink {
public:
    CloudSink(const GridFrame& frame, SkeletonSize size, GridWriter& grid, SkeletonWriter& skeleton,
              SkeletonSummary& summary);
    ~CloudSink() override;
    CloudSink(const CloudSink&) = delete;
    CloudSink& operator=(const CloudSink&) = delete;

    Expected<void> Begin(bool wholeCells) override;
    void Prepare(MergedBlock& block) override;
    Expected<void> Commit(MergedBlock& block) override;
    Expected<void> Store(const MergedBlock& block) override;
    /// Once the grid is finished; brings the skeleton's files to the device.
    Expected<void> FinishSkeleton();
    /// Whether `FinishSkeleton` has no points to read.
    [[nodiscard]] bool ThinsBlocks() const { return thinsBlocks_; }

private:
    struct BlockResults;

    BlockResults& ResultsOf(MergedBlock& block);

    const GridFrame& frame_;
    SkeletonSize size_;
    GridWriter& grid_;
    SkeletonWriter& skeleton_;
    SkeletonSummary& summary_;
    bool thinsBlocks_ = false;
    std::mutex mutex_;
    std::vector<std::unique_ptr<BlockResults>> results_;  // one for each thread that merges
};

}  // namespace orvix::importer
