// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "importer/import_options.h"
#include "importer/import_pool.h"
#include "importer/tasks/merge_part.h"
#include "orvix/project/manifest/manifest.h"

namespace orvix::importer {

/// What all parts of an import are together.
struct JoinedParts {
    std::uint64_t points = 0;
    Removed removed;
    std::vector<std::uint32_t> sums;  ///< of the point file's blocks; empty where one is unknown
    SkeletonSummary skeleton;
};

/// Joins the parts' indexes and skeletons into the project's files, in order: numbers of cells and
/// skeleton points go on from part to part, and a 1000 cm cell that two parts share becomes one.
///
/// Errors   those of the files; Cancelled; numbers that an index cannot hold.
/// Cost     each record is read and written once.
Expected<JoinedParts> JoinParts(const TaskNotes& notes, const ProjectManager& project,
                                std::uint64_t parts, SkeletonSize skeleton, ImportPool& pool);

}  // namespace orvix::importer
