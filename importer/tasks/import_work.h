// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "importer/import_pool.h"
#include "importer/memory_plan.h"
#include "importer/scans/station_table.h"
#include "importer/sort/record_sorter.h"
#include "importer/tasks/task_name.h"
#include "importer/tasks/task_notes.h"
#include "importer/tasks/task_plan.h"
#include "importer/tasks/task_runs.h"
#include "orvix/platform/path.h"
#include "orvix/project/project_manager.h"

namespace orvix::importer {

/// An import as tasks whose results lie on the disk: which can run now, and how each is run.
///
/// A task reads the notes of those before it and leaves its own: any process that reaches the inputs
/// and the folders can run it, twice does no harm, and what was done stays done. One process that
/// runs all of them keeps in memory what the next would read.
///
///     ImportWork work(inputs, options, sortPoints, plan, working, folder, pool);
///     for (auto ready = work.Ready(); !ready->empty(); ready = work.Ready())
///         for (const TaskName& task : *ready) work.Run(task);
///
/// Publishing is left to the caller, who has the target.
///
/// Order     the same inputs and options give the same bytes, however tasks are spread: runs follow
///           the input, ranges follow the cells.
/// Errors    those of readers and files, Cancelled; Damaged for a note or part that is not what was
///           written.
/// Lifetime  borrows what it is given.
/// Threads   one at a time; it works on the pool's.
/// Cost      as an import that sorts through the disk; each task reads the surveys once.
class ImportWork {
public:
    struct Place {
        const std::vector<ScanInput>& inputs;
        const ImportOptions& options;
        std::uint64_t sortPoints;  ///< most points of a sorted run
        const ProjectManager& working;
        CString folder;    ///< of notes
        std::string text;  ///< of the import's marker in the working folder
    };
    ImportWork(const Place& place, const MemoryPlan& plan, ImportPool& pool);

    /// Takes what a survey of all inputs found, as if the survey tasks had run.
    Expected<void> TakeSurveys(std::vector<InputSurvey> found);
    /// Looks at what a former process left: runs that do not match their sums are done again.
    Expected<void> CheckRuns();

    /// The tasks that can run now, at once and anywhere; empty once Finish is done.
    Expected<std::vector<TaskName>> Ready();
    /// The tasks that are done, in the order of their kinds.
    Expected<std::vector<TaskName>> Done();
    /// All tasks of a kind that is known by now, done or not.
    Expected<std::vector<TaskName>> All(TaskKind kind);
    [[nodiscard]] bool IsDone(const TaskName& task) const;
    /// What a task handles, for progress.
    [[nodiscard]] std::uint64_t BytesOf(const TaskName& task) const;

    /// Runs one task; nothing where it is done.
    Expected<void> Run(const TaskName& task);

    [[nodiscard]] const TaskNotes& Notes() const { return notes_; }

private:
    [[nodiscard]] Expected<void> RequireOwn() const;
    [[nodiscard]] bool AreSurveyed() const;
    Expected<std::vector<TaskName>> Look();
    Expected<void> FinishAlone();
    [[nodiscard]] bool AreMerged();
    [[nodiscard]] std::vector<TaskName> Open(std::vector<TaskName> names) const;
    [[nodiscard]] std::vector<TaskName> JoinedBy(const TaskName& join) const;
    [[nodiscard]] std::vector<TaskName> ReadyRuns() const;
    Expected<void> Prepare();
    Expected<void> LoadRanges();
    [[nodiscard]] std::vector<TaskName> RunsAt(std::size_t level) const;
    [[nodiscard]] std::vector<TaskName> LastRuns() const { return RunsAt(levels_.size() - 1); }
    Expected<std::vector<SortedRun>> OpenRuns(const std::vector<TaskName>& names) const;
    Expected<void> RunSurvey(std::size_t input);
    Expected<void> RunSort(const TaskName& task);
    Expected<void> RunJoin(const TaskName& task);
    Expected<void> RunPlan();
    Expected<void> RunMerge(std::uint64_t part);
    Expected<void> RunFinish();
    Expected<RunFacts> SumOfSorts() const;
    Expected<std::uint64_t> PlaceOf(std::uint64_t part) const;
    void RemoveRuns() const;

    Place place_;
    const MemoryPlan& plan_;
    ImportPool& pool_;
    TaskNotes notes_;
    StationTable stations_;
    std::vector<InputSurvey> found_;  // while surveys come in
    std::optional<Survey> survey_;
    std::vector<SortTask> sorts_;
    std::vector<std::uint64_t> levels_;
    std::optional<std::vector<RangeTask>> ranges_;
    SortedCloud cloud_;
    platform::PathLock finishing_;
};

}  // namespace orvix::importer
