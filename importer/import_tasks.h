// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "importer/import.h"

namespace orvix::importer {

/// An import cut into tasks that any number of processes, on any number of machines, can share.
///
/// What `Import` does in one call is a plan of named tasks here: "survey/0" reads the first input,
/// "sort/17" makes a sorted run of a stretch of the inputs, "join/1/3" makes one run of several
/// where there are too many, "plan" cuts the sorted order into ranges of cells, "merge/3" writes a
/// range's points into their place of the point file, with its part of indexes, skeleton and
/// histograms, "finish" joins the parts, "publish" makes the project appear. A task leaves its result
/// on the disk beside the target and renames it into place; what is done stays done, and a task that
/// is run twice, even at the same time, does no harm. So any engine can drive them:
///
///     auto tasks = ImportTasks::Begin(inputs, project, options);
///     for (auto ready = tasks->Ready(); ready && !ready->empty(); ready = tasks->Ready())
///         for (const std::string& task : *ready)      // at once, anywhere
///             tasks->Run(task);                       // there: ImportTasks::Open(project, ...)
///
/// Order     the project's bytes are those of `Import`, whoever runs what: the order of points is
///           that of cells, within a cell that of the inputs. Tasks that are ready together may run
///           in any order; with `dedupe` ranges are merged one after the other.
/// Boundaries every process reaches inputs and project under the same paths. The memory limit of
///           `Begin` says how many points a sort takes into memory, wherever it runs; all else keeps
///           to that of `Open`. "publish" is for one process; any other task may run twice at once.
/// Errors    as Import; an input that changed since `Begin` is named; Damaged for a result that is
///           not what was written. What fails leaves the other tasks as they are.
/// Lifetime  the tasks stay until "publish", `Clear`, or an import of the same project that does not
///           resume. `Begin` of the same import continues it.
/// Threads   an object is used by one thread at a time; `Run` starts its own.
/// Cost      that of `Import` where points are sorted through the disk; a process that opens the
///           tasks opens all inputs, looks at both ends of each, and reads the results of all surveys once.
class ORVIX_IMPORTER_API ImportTasks {
public:
    /// Lays the import out beside its target, or continues one of the same inputs and options; the
    /// runs of one that was ended are read and compared with their sums.
    static Expected<ImportTasks> Begin(const std::vector<CString>& inputs, const CString& project,
                                       const ImportOptions& options,
                                       const ImportCallback& callback = {});
    /// The tasks of an import that was begun, with this process's memory limit and threads (0: every
    /// core).
    static Expected<ImportTasks> Open(const CString& project, std::uint64_t memoryLimitBytes,
                                      unsigned threads);
    ImportTasks(ImportTasks&& other) noexcept;
    ImportTasks& operator=(ImportTasks&& other) noexcept;
    ~ImportTasks();

    /// The tasks that can run now; the last is "publish". Empty once the project has appeared.
    Expected<std::vector<std::string>> Ready();
    /// The tasks whose results are there, of those that are known by now.
    Expected<std::vector<std::string>> Done();
    /// Where the results lie: a folder beside the target.
    [[nodiscard]] const CString& Folder() const;
    /// Runs one of them, or nothing where it is done. A report comes from "publish".
    Expected<std::optional<ImportReport>> Run(const std::string& task,
                                              const ImportCallback& callback = {});
    /// Gives the import up and removes what it left beside its target.
    static Expected<void> Clear(const CString& project);

private:
    struct State;
    explicit ImportTasks(std::unique_ptr<State> state);

    std::unique_ptr<State> state_;
};

}  // namespace orvix::importer
