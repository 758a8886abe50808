// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/write/grid_writer.h"

namespace orvix::importer {

Expected<void> GridWriter::Create(const ProjectManager& project) {
    Expected<void> done = points_.Create(project.gridPts, Durability::Lasting);
    return done ? index_.Create(project) : done;
}

Expected<void> GridWriter::CreatePart(const ProjectManager& project) {
    Expected<void> done = points_.OpenWrite(project.gridPts);
    return done ? index_.Create(project) : done;
}

void GridWriter::Count(MergedBlock& block) {
    block.offset = index_.Points();
    removed_.points += block.removed.points;
    removed_.hash += block.removed.hash;
}

Expected<void> GridWriter::Commit(MergedBlock& block) {
    Count(block);
    return index_.Add(block.cells);
}

Expected<void> GridWriter::Commit(MergedBlock& block, WholeCells& cells) {
    Count(block);
    return index_.Enter(cells);
}

Expected<void> GridWriter::Store(const MergedBlock& block, WholeCells& cells) {
    auto stored = Store(block);
    return stored ? index_.Store(cells) : stored;
}

Expected<void> GridWriter::Store(const MergedBlock& block) {
    const std::uint64_t at = block.offset * kAlivePointBytes;
    const std::size_t bytes = block.points.Size() * kAlivePointBytes;
    sums_.Add(at, {reinterpret_cast<const std::uint8_t*>(block.points.Data()), bytes});
    return points_.WriteAt(at, block.points.Data(), bytes);
}

Expected<void> GridWriter::Finish() {
    Expected<void> done = points_.Finish();
    return done ? index_.Finish() : done;
}

Expected<void> GridWriter::Close() {
    Expected<void> done = points_.Close();
    return done ? index_.Close() : done;
}

}  // namespace orvix::importer
