// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "importer/import_options.h"
#include "importer/import_pool.h"
#include "importer/sort/run_merge.h"
#include "importer/tasks/task_notes.h"
#include "importer/tasks/task_plan.h"
#include "importer/write/skeleton_writer.h"
#include "orvix/project/project_manager.h"

namespace orvix::importer {

/// What a range of cells became: its points are in the point file, the records of its cells and of
/// its part of the skeleton in files of their own, numbered as if the range were all there is.
struct MergedPart {
    std::uint64_t first = 0;   ///< number of its first point
    std::uint64_t points = 0;  ///< written; fewer than the range's where duplicates went
    Removed removed;
    WrittenSums::Pieces sums;  ///< of its bytes in the point file
    SkeletonSummary skeleton;
};

/// What range number `part` is merged from and into.
struct MergeRequest {
    std::uint64_t part = 0;
    RangeTask range;  ///< `first` is where its points go
    GridFrame frame;
    MergeOptions merge;
    SkeletonSize skeleton = SkeletonSize::TenCentimetres;
    /// Asked once the point file is open: from then on nothing else can take its place.
    std::function<Expected<void>()> stillOwn;
};

/// Merges a range of the runs into its place of the project's point file, which exists, and writes
/// the range's part of indexes, skeleton and histograms beside the note.
///
/// Errors   those of the files; Cancelled.
/// Cost     the points are read, sorted and written; read once more where CloudSink says so.
Expected<void> MergePart(const TaskNotes& notes, const ProjectManager& project,
                         const std::vector<SortedRun>& runs, const MergeRequest& request,
                         ImportPool& pool);

Expected<MergedPart> ReadPart(const TaskNotes& notes, std::uint64_t part);

/// The paths of a part's files, where a project has its own.
ProjectManager PartPaths(const TaskNotes& notes, std::uint64_t part);

}  // namespace orvix::importer
