// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "importer/grid/grid_frame.h"
#include "importer/import_pool.h"
#include "importer/sort/record_sorter.h"
#include "importer/tasks/task_name.h"
#include "importer/tasks/task_notes.h"

namespace orvix::importer {

/// What a sort task found out beside its run.
struct RunFacts {
    std::uint64_t points = 0;
    std::uint64_t checksum = 0;
    Rejections rejected;
    ExtendsT<float> bounds;              ///< meaningless without points
    std::vector<std::uint64_t> decoded;  ///< by station
};

/// Merges runs into one on the disk, with its note: NAME.points, NAME.keys (twelve bytes a key: the
/// block, the cell in it), NAME.json. The bytes are not waited for: `IsSound` tells after a power
/// cut.
Expected<void> WriteRun(const TaskNotes& notes, const TaskName& task,
                        const std::vector<SortedRun>& runs, const RunFacts& facts,
                        const GridFrame& frame, std::uint64_t blockPoints, ImportPool& pool);
Expected<RunFacts> ReadRunFacts(const TaskNotes& notes, const TaskName& task);

/// A run that was written, with all its keys.
Expected<SortedRun> OpenRun(const TaskNotes& notes, const TaskName& task);
/// The part of it that holds the cells from `low` to before `high`, and a little more.
Expected<SortedRun> OpenRun(const TaskNotes& notes, const TaskName& task, const SortKey& low,
                            const SortKey& high);

/// Reads a run and compares it with its sums. Errors: those of the pool; a file that cannot be read
/// is not sound.
Expected<bool> IsSound(const TaskNotes& notes, const TaskName& task, ImportPool& pool);

/// Removes a run's files and note, so that its task is to be done again.
void RemoveRun(const TaskNotes& notes, const TaskName& task);
/// Removes the files of a run that another stands for; the note stays and accounts for its points.
void RemoveRunFiles(const TaskNotes& notes, const TaskName& task);

/// Pieces of sums as a note holds them: offset, bytes, sum.
Json JsonOf(const WrittenSums::Pieces& pieces);
WrittenSums::Pieces PiecesOf(const Json& json);

}  // namespace orvix::importer
