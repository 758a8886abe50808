// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "importer/import_options.h"
#include "importer/memory_plan.h"
#include "importer/scans/station_table.h"
#include "importer/tasks/task_notes.h"
#include "orvix/platform/error.h"
#include "orvix/platform/text.h"

namespace orvix::importer {

/// By what an input is known again: a changed file has another size, time, start or end.
struct InputStamp {
    CString path;  ///< absolute
    std::uint64_t bytes = 0;
    std::int64_t written = 0;  ///< platform::WrittenTimeOf
    std::uint32_t head = 0;    ///< sum of the first 64 KiB
    std::uint32_t tail = 0;    ///< sum of the last 64 KiB
};
Expected<InputStamp> StampOf(const CString& path);

/// What an import in tasks was asked to do.
struct TaskJob {
    CString project;  ///< absolute
    std::vector<InputStamp> inputs;
    ImportOptions options;  ///< without threads and memory limit, which each process has of its own
    std::uint64_t sortPoints = 0;  ///< most points of a sorted run
};

/// Most points of a sorted run: what the plan's memory holds.
std::uint64_t SortPointsOf(const MemoryPlan& plan);
/// The job of an import that begins now. Errors: an input that cannot be read.
Expected<TaskJob> NewJob(const CString& project, const std::vector<CString>& inputs,
                         const ImportOptions& options, const MemoryPlan& plan);
std::vector<CString> PathsOf(const std::vector<ScanInput>& inputs);

Expected<TaskJob> ReadJob(const TaskNotes& notes);
Expected<void> WriteJob(const TaskNotes& notes, const TaskJob& job);

/// Whether tasks of `job` serve an import of these inputs and options. Errors: BadInput, which names
/// what differs and an input that changed.
Expected<void> RequireSame(const TaskJob& job, const std::vector<CString>& inputs,
                           const ImportOptions& options);
/// Whether the inputs are still those that the job was begun with.
Expected<void> RequireUnchanged(const TaskJob& job);

}  // namespace orvix::importer
