// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/import_tasks.h"

#include <fmt/format.h>

#include <new>
#include <utility>

#include "importer/files/disk_space.h"
#include "importer/import_inputs.h"
#include "importer/tasks/import_work.h"
#include "importer/tasks/report_note.h"
#include "importer/tasks/run_tasks.h"
#include "importer/tasks/task_job.h"
#include "importer/write/project_publisher.h"
#include "orvix/platform/path.h"
#include "orvix/platform/system.h"
#include "orvix/project/project_paths.h"

namespace orvix::importer {
namespace {

using platform::ToUtf8;

tl::unexpected<Error> FailWithoutTasks(const CString& project) {
    return Fail(ErrorCode::BadInput,
                fmt::format("no import of {} is under way in tasks; begin one", ToUtf8(project)));
}

Expected<void> LayOut(const CString& project, const std::vector<CString>& inputs,
                      const ImportOptions& options, ProjectPublisher& publisher) {
    const auto folder = publisher.TasksFolder();
    if (!folder) return ErrorOf(folder);
    const TaskNotes notes(*folder);
    auto job = publisher.Continues()
                   ? ReadJob(notes)
                   : NewJob(project, inputs, options,
                            PlanMemory(options.memoryLimitBytes, options.threads));
    if (!job) return ErrorOf(job);
    if (!publisher.Continues()) return WriteJob(notes, *job);
    if (auto same = RequireSame(*job, inputs, options); !same) return same;
    if (job->options.overwrite == options.overwrite) return {};
    job->options.overwrite = options.overwrite;
    return WriteJob(notes, *job);
}

}  // namespace

/// What an open import holds; its parts refer to each other and stay where they are.
struct ImportTasks::State {
    State(TaskJob taskJob, std::vector<ScanInput> scans, const MemoryPlan& memory,
          const std::string& text)
        : job(std::move(taskJob)),
          inputs(std::move(scans)),
          plan(memory),
          meter([this](const ImportProgress& progress) { return !callback || callback(progress); }),
          pool(meter, plan.workers) {
        // Whoever has the lock makes folders; here they are found.
        const orvix::detail::ImportMarks marks = TargetNames(job.project).marks;
        orvix::detail::BuildPaths(working, marks.workingProject);
        work.emplace(ImportWork::Place{inputs, job.options, job.sortPoints, working,
                                       marks.TasksOf(text), text},
                     plan, pool);
    }

    TaskJob job;
    std::vector<ScanInput> inputs;
    MemoryPlan plan;
    ImportCallback callback;
    ProgressMeter meter;
    ImportPool pool;
    ProjectManager working;
    std::optional<ImportWork> work;
    bool published = false;
};

ImportTasks::ImportTasks(std::unique_ptr<State> state) : state_(std::move(state)) {}
ImportTasks::ImportTasks(ImportTasks&& other) noexcept = default;
ImportTasks& ImportTasks::operator=(ImportTasks&& other) noexcept = default;
ImportTasks::~ImportTasks() = default;

Expected<ImportTasks> ImportTasks::Open(const CString& project, std::uint64_t memoryLimitBytes,
                                        unsigned threads) {
    const orvix::detail::ImportMarks marks = TargetNames(project).marks;
    const std::string text = orvix::detail::ReadImportText(marks.note);
    const TaskNotes notes(marks.TasksOf(text));
    if (text.empty() || !platform::PathExists(platform::JoinPath(notes.Folder(), kJobName)))
        return FailWithoutTasks(project);
    auto job = ReadJob(notes);
    if (!job) return ErrorOf(job);
    if (auto same = RequireUnchanged(*job); !same) return ErrorOf(same);
    std::vector<CString> paths;
    for (const InputStamp& input : job->inputs) paths.push_back(input.path);
    auto inputs = OpenInputs(paths);
    if (!inputs) return ErrorOf(inputs);
    return ImportTasks(std::make_unique<State>(std::move(*job), std::move(*inputs),
                                               PlanMemory(memoryLimitBytes, threads), text));
}

Expected<ImportTasks> ImportTasks::Begin(const std::vector<CString>& inputs, const CString& project,
                                         const ImportOptions& options,
                                         const ImportCallback& callback) {
    if (auto checked = CheckInputs(inputs, project); !checked) return ErrorOf(checked);
    // Inputs that cannot be read are no reason to leave anything behind.
    if (auto readable = OpenInputs(inputs); !readable) return ErrorOf(readable);
    using Existing = ProjectPublisher::Existing;
    auto publisher =
        ProjectPublisher::Begin(project, options.overwrite ? Existing::Replace : Existing::Keep,
                                ProjectPublisher::Ended::Continue);
    if (!publisher) return ErrorOf(publisher);
    const bool continues = publisher->Continues();
    if (auto laidOut = LayOut(project, inputs, options, *publisher); !laidOut) {
        if (!continues) publisher->Clear();
        publisher->Leave();
        return ErrorOf(laidOut);
    }
    publisher->Leave();
    auto tasks = Open(project, options.memoryLimitBytes, options.threads);
    if (!tasks || !continues) return tasks;
    tasks->state_->callback = callback;
    tasks->state_->meter.Begin(ImportPhase::Scan, 0);
    if (auto checked = tasks->state_->work->CheckRuns(); !checked) return ErrorOf(checked);
    tasks->state_->callback = {};
    return tasks;
}

Expected<std::vector<std::string>> ImportTasks::Ready() {
    if (state_->published) return std::vector<std::string>();
    const auto ready = state_->work->Ready();
    if (!ready) return ErrorOf(ready);
    std::vector<std::string> names;
    for (const TaskName& task : *ready) names.push_back(TextOf(task));
    if (names.empty()) names.push_back(TextOf({TaskKind::Publish}));
    return names;
}

Expected<std::vector<std::string>> ImportTasks::Done() {
    std::vector<std::string> names;
    if (state_->published) return std::vector<std::string>{TextOf({TaskKind::Publish})};
    const auto done = state_->work->Done();
    if (!done) return ErrorOf(done);
    for (const TaskName& task : *done) names.push_back(TextOf(task));
    return names;
}

const CString& ImportTasks::Folder() const {
    return state_->work->Notes().Folder();
}

namespace {

Expected<ImportReport> PublishTasks(const TaskJob& job, bool overwrite) {
    using Existing = ProjectPublisher::Existing;
    auto publisher =
        ProjectPublisher::Begin(job.project, overwrite ? Existing::Replace : Existing::Keep,
                                ProjectPublisher::Ended::Continue);
    if (!publisher) return ErrorOf(publisher);
    if (!publisher->Continues()) {
        publisher->Clear();
        return FailWithoutTasks(job.project);
    }
    const auto folder = publisher->TasksFolder();
    if (!folder) {
        publisher->Leave();
        return ErrorOf(folder);
    }
    const TaskNotes notes(*folder);
    if (!notes.Has(FileNameOf({TaskKind::Finish}))) {
        publisher->Leave();
        return Fail(ErrorCode::BadInput, "the import is not finished; run its other tasks first");
    }
    auto report = ReadReport(notes);
    Expected<void> done = report ? Expected<void>() : ErrorOf(report);
    if (done && !publisher->IsPublished()) done = publisher->Publish();
    if (!done && publisher->IsPublished())
        done.error().message += RemainsSentence(publisher->Clear());
    if (!done) {
        publisher->Leave();
        return ErrorOf(done);
    }
    report->project = job.project;
    for (const CString& path : publisher->Clear()) {
        report->warnings.push_back(
            fmt::format("{} could not be removed; the next import of the project does it, or you "
                        "may",
                        ToUtf8(path)));
    }
    report->peakMemoryBytes = platform::PeakMemory();
    return report;
}

}  // namespace

Expected<std::optional<ImportReport>> ImportTasks::Run(const std::string& task,
                                                       const ImportCallback& callback) try {
    const auto name = TaskOf(task);
    if (!name) return Fail(ErrorCode::BadInput, "no task of an import is called \"" + task + "\"");
    if (name->kind == TaskKind::Publish) {
        auto report = PublishTasks(state_->job, state_->job.options.overwrite);
        if (!report) return ErrorOf(report);
        state_->published = true;
        return std::optional(std::move(*report));
    }
    state_->callback = callback;
    state_->meter.Begin(PhaseOf(name->kind), 0);
    auto done = state_->work->Run(*name);
    state_->callback = {};
    if (!done) return ErrorOf(done);
    return std::optional<ImportReport>();
} catch (const std::bad_alloc&) {
    return Fail(ErrorCode::NoMemory,
                "memory ran out; lower the memory limit, use fewer threads, or close other "
                "programs");
}

Expected<void> ImportTasks::Clear(const CString& project) {
    if (!platform::IsFolder(TargetNames(project).marks.tasks)) return FailWithoutTasks(project);
    auto publisher = ProjectPublisher::Begin(project, ProjectPublisher::Existing::Replace,
                                             ProjectPublisher::Ended::Continue);
    if (!publisher) return ErrorOf(publisher);
    const std::vector<CString> left = publisher->Clear();
    if (left.empty()) return {};
    return Fail(ErrorCode::Failure, "not all could be removed" + RemainsSentence(left));
}

}  // namespace orvix::importer
