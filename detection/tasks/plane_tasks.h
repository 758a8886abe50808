// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "detection/search_stages.h"

namespace orvix::detection {

/// Where the tasks of a search stand: what can run now, and what is done. Nothing is left to run where
/// `ready` is empty; PlaneSearch::Finish gives the planes then.
struct TaskState {
    std::vector<std::string> ready;  ///< may run in any order, at once, anywhere
    std::vector<std::string> done;
};

/// A search for all planes, cut into tasks that processes on several machines share: each is named, may
/// be repeated, and leaves its result in a folder beside the project.
///
/// Choose it over PlaneSearch::Run where one machine is too few, or where a search must go on after it
/// was ended half-way.
///
///     auto tasks = PlaneTasks::Begin(project, core, options, 64);      // or Open, elsewhere
///     while (tasks && !tasks->State().ready.empty())
///         for (const std::string& name : tasks->State().ready)
///             if (auto done = tasks->Run(name, 0, {}); !done) return done;
///     auto search = PlaneSearch::Finish(core, tasks->Stages(), how);
///
/// Shape      tiles/0, tiles/1, ...: regions grow in a part of the tiles. join: regions become one from
///            tile to tile. points/0, ...: the points of a part of the tiles go to their regions.
/// Order      the result is a function of the points and the options: how many pieces there are, what ran
///            where, and how often, does not matter.
/// Boundaries where cells take more than the memory allowed, the task that finds it out plans larger
///            ones, as Run does, and the tiles begin anew.
/// Errors     BadInput for tasks of another search or of a project that has changed, for none, and for a
///            name of none that can run; NoSpace, Damaged and Failure with the result's path; those of
///            PlaneSearch::Run.
/// Lifetime   `core` must stay open.
/// Threads    any number of processes may run any tasks, be it the same one: the result takes its name
///            once it is whole, and both write the same bytes.
/// Cost       disk: 26 bytes per cell, 88 for each pair of a chunk of 32,768 points and a region in it, 16
///            per 64 pixels of planes. Memory: of a task of tiles as of Run, for its part; `join` holds
///            all cells (18 bytes each); of a task of points those of its tiles and of the ones beside.
class PlaneTasks {
public:
    /// Plans a search in `pieces` parts at most, or reopens that of the same options; of `options` the
    /// values count.
    static Expected<PlaneTasks> Begin(const CString& project, CProjectCore& core,
                                      const PlaneSearchOptions& options, unsigned pieces);
    static Expected<PlaneTasks> Open(const CString& project, CProjectCore& core);
    /// Removes the folder with all results. None is no error.
    static Expected<void> Clear(const CString& project);
    static CString FolderOf(const CString& project);

    PlaneTasks(PlaneTasks&&) noexcept;
    PlaneTasks& operator=(PlaneTasks&&) noexcept;
    ~PlaneTasks();

    [[nodiscard]] TaskState State() const;
    /// Runs one task that is ready; one that is done already is left alone. `proceed` may be empty.
    Expected<void> Run(const std::string& name, unsigned threads,
                       const std::function<bool()>& proceed);
    /// What Finish takes. Precondition: nothing is left to run.
    [[nodiscard]] const SearchStages& Stages() const;

private:
    class Impl;
    explicit PlaneTasks(std::unique_ptr<Impl> impl);

    std::unique_ptr<Impl> impl_;
};

}  // namespace orvix::detection
