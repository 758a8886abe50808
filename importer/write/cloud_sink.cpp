// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/write/cloud_sink.h"

#include <memory>

#include "importer/write/block_thinner.h"

namespace orvix::importer {
namespace {

struct BlockSkeleton final : SinkWork {
    explicit BlockSkeleton(SkeletonSize size) : thinner(size) {}
    BlockThinner thinner;
};

BlockThinner& ThinnerOf(MergedBlock& block) {
    return static_cast<BlockSkeleton&>(*block.work).thinner;
}

}  // namespace

Expected<void> CloudSink::Begin(bool wholeCells) {
    thinsBlocks_ = wholeCells && size_ != SkeletonSize::OneMetre;
    return thinsBlocks_ ? skeleton_.Create() : Expected<void>();
}

void CloudSink::Prepare(MergedBlock& block) {
    if (!thinsBlocks_) return;
    if (block.work == nullptr) block.work = std::make_unique<BlockSkeleton>(size_);
    ThinnerOf(block).Thin(frame_, block.points.All(), block.cells);
}

Expected<void> CloudSink::Commit(MergedBlock& block) {
    auto done = grid_.Commit(block);
    if (!done || !thinsBlocks_) return done;
    BlockThinner& thinner = ThinnerOf(block);
    return skeleton_.Add(thinner.thinned, thinner.histograms, summary_);
}

Expected<void> CloudSink::FinishSkeleton() {
    return thinsBlocks_ ? skeleton_.Finish(summary_) : skeleton_.Write(grid_.Finished(), summary_);
}

}  // namespace orvix::importer
