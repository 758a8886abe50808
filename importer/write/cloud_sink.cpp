// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/write/cloud_sink.h"

#include "importer/skeleton/block_thinner.h"

namespace orvix::importer {

/// What one thread makes of its blocks; its histograms are of all of them.
struct CloudSink::BlockResults final : SinkWork {
    explicit BlockResults(SkeletonSize size) : thinner(size) {}

    BlockThinner thinner;
    WholeCells cells;
    std::uint64_t firstThinned = 0;
};

CloudSink::CloudSink(const GridFrame& frame, SkeletonSize size, GridWriter& grid,
                     SkeletonWriter& skeleton, SkeletonSummary& summary)
    : frame_(frame), size_(size), grid_(grid), skeleton_(skeleton), summary_(summary) {}

CloudSink::~CloudSink() = default;

Expected<void> CloudSink::Begin(bool wholeCells) {
    thinsBlocks_ = wholeCells && size_ != SkeletonSize::OneMetre;
    return thinsBlocks_ ? skeleton_.Create() : Expected<void>();
}

CloudSink::BlockResults& CloudSink::ResultsOf(MergedBlock& block) {
    if (block.work == nullptr) {
        auto results = std::make_unique<BlockResults>(size_);
        block.work = results.get();
        const std::lock_guard<std::mutex> lock(mutex_);
        results_.push_back(std::move(results));
    }
    return static_cast<BlockResults&>(*block.work);
}

void CloudSink::Prepare(MergedBlock& block) {
    if (!thinsBlocks_) return;
    BlockResults& results = ResultsOf(block);
    results.thinner.Thin(frame_, block.points.All(), block.cells);
    results.cells.Make(block.cells);
}

Expected<void> CloudSink::Commit(MergedBlock& block) {
    if (!thinsBlocks_) return grid_.Commit(block);
    BlockResults& results = ResultsOf(block);
    if (auto done = grid_.Commit(block, results.cells); !done) return done;
    const auto entered = skeleton_.Enter(results.thinner.thinned, summary_);
    if (!entered) return ErrorOf(entered);
    results.firstThinned = *entered;
    return {};
}

Expected<void> CloudSink::Store(const MergedBlock& block) {
    if (!thinsBlocks_) return grid_.Store(block);
    auto& results = static_cast<BlockResults&>(*block.work);
    auto stored = grid_.Store(block, results.cells);
    return stored ? skeleton_.Store(results.thinner.thinned, results.firstThinned) : stored;
}

Expected<void> CloudSink::FinishSkeleton() {
    if (!thinsBlocks_) return skeleton_.Write(grid_.Finished(), summary_);
    for (const auto& results : results_) summary_.histograms.Take(results->thinner.histograms);
    results_.clear();
    return skeleton_.Finish(summary_);
}

}  // namespace orvix::importer
