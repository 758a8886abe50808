// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/write/grid_writer.h"

namespace orvix::importer {

Expected<void> GridWriter::Create(const ProjectManager& project) {
    Expected<void> done = points_.Create(project.gridPts, Durability::Lasting);
    return done ? index_.Create(project) : done;
}

Expected<void> GridWriter::Commit(MergedBlock& block) {
    block.offset = index_.Points();
    removed_.points += block.removed.points;
    removed_.hash += block.removed.hash;
    return index_.Add(block.cells);
}

Expected<void> GridWriter::Store(const MergedBlock& block) {
    return points_.WriteAt(block.offset * kAlivePointBytes, block.points.Data(),
                           block.points.Size() * kAlivePointBytes);
}

Expected<void> GridWriter::Finish() {
    Expected<void> done = points_.Finish();
    return done ? index_.Finish() : done;
}

}  // namespace orvix::importer
