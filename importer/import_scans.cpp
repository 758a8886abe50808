// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/import_scans.h"

#include <fmt/format.h>

#include <chrono>
#include <new>
#include <optional>
#include <utility>

#include "importer/files/disk_space.h"
#include "importer/import_pool.h"
#include "importer/import_report.h"
#include "importer/scans/rejections.h"
#include "importer/scans/scan_survey.h"
#include "importer/sort/record_sorter.h"
#include "importer/sort/run_merge.h"
#include "importer/tasks/import_work.h"
#include "importer/tasks/report_note.h"
#include "importer/tasks/run_tasks.h"
#include "importer/tasks/task_job.h"
#include "importer/write/cloud_sink.h"
#include "importer/write/project_publisher.h"
#include "importer/write/project_records.h"
#include "importer/write/project_remains.h"
#include "orvix/platform/system.h"
#include "orvix/project/covered_files.h"

namespace orvix::importer {
namespace {

/// One import, step by step.
class ImportRun {
public:
    ImportRun(const std::vector<ScanInput>& inputs, const CString& project,
              const ImportOptions& options, const MemoryPlan& plan, const ImportCallback& callback)
        : inputs_(inputs),
          options_(options),
          plan_(plan),
          meter_(callback),
          pool_(meter_, plan.workers),
          stations_(inputs, options),
          kept_(plan.poolBytes) {
        report_.project = project;
    }

    Expected<ImportReport> Run();
    /// The failure, with the names of what could not be removed.
    tl::unexpected<Error> EndEarly(Error failure);

private:
    using Clock = std::chrono::steady_clock;

    Expected<void> Begin();
    Expected<void> BeginTo(ProjectPublisher::Ended ended);
    Expected<void> ImportAtOnce();
    [[nodiscard]] bool FitsInMemory() const;
    ImportWork::Place PlaceOfTasks(const CString& folder, std::uint64_t points);
    Expected<void> ContinueTasks();
    Expected<void> SpillIntoTasks();
    Expected<void> RunWork(ImportWork& work);
    Expected<void> TakeReport(const TaskNotes& notes);
    Expected<void> Scan();
    [[nodiscard]] std::uint64_t InputBytes() const;
    Expected<void> Sort();
    Expected<void> CheckSpace(bool spills);
    Expected<void> WriteGrid();
    Expected<void> FinishGrid();
    Expected<void> WriteSkeleton();
    [[nodiscard]] ProjectFacts Facts() const;
    Expected<void> WriteRecords();
    Expected<void> WriteManifest();
    Expected<void> Publish();

    const std::vector<ScanInput>& inputs_;
    const ImportOptions& options_;
    const MemoryPlan& plan_;
    Clock::time_point start_ = Clock::now();
    ProgressMeter meter_;
    ImportPool pool_;
    ImportReport report_;
    std::optional<ProjectPublisher> publisher_;
    StationTable stations_;
    KeptPoints kept_;
    std::vector<InputSurvey> found_;
    Survey survey_;
    SortedCloud cloud_;
    std::optional<GridWriter> grid_;
    std::optional<SkeletonWriter> skeletonFiles_;
    std::optional<CloudSink> cloudSink_;
    SkeletonSummary skeleton_;
    bool continued_ = false;   // an import that was ended
    bool keepsTasks_ = false;  // what is done is kept where this one ends early
};

Expected<ImportReport> ImportRun::Run() {
    Expected<void> done = Begin();
    if (done && !publisher_->IsPublished())
        done = options_.resume ? ContinueTasks() : ImportAtOnce();
    if (done) done = Publish();
    if (!done) return EndEarly(done.error());
    meter_.Complete();
    report_.seconds = std::chrono::duration<double>(Clock::now() - start_).count();
    report_.peakMemoryBytes = platform::PeakMemory();
    return std::move(report_);
}

// Files are closed first: some systems remove none that is open. What a continued import can use
// again stays, unless the inputs themselves are at fault.
// BEHAVIOUR I28
tl::unexpected<Error> ImportRun::EndEarly(Error failure) {
    cloudSink_.reset();
    skeletonFiles_.reset();
    grid_.reset();
    cloud_.runs.clear();
    if (publisher_ && keepsTasks_ && !publisher_->IsPublished() &&
        (failure.code != ErrorCode::BadInput || continued_)) {
        publisher_->Leave();
        if (failure.code != ErrorCode::BadInput)
            failure.message += "; what is done stays: go on with --resume";
    } else if (publisher_) {
        failure.message += RemainsSentence(publisher_->Clear());
    }
    publisher_.reset();
    return tl::unexpected<Error>(std::move(failure));
}

// A project that appeared is the answer to the same question alone; to another one the answer is to
// begin anew.
Expected<void> ImportRun::Begin() {
    using Ended = ProjectPublisher::Ended;
    if (auto begun = BeginTo(options_.resume ? Ended::Continue : Ended::Clear); !begun)
        return begun;
    if (!publisher_->IsPublished()) return {};
    const auto folder = publisher_->TasksFolder();
    if (!folder) return ErrorOf(folder);
    const TaskNotes notes(*folder);
    const auto job = ReadJob(notes);
    if (job && RequireSame(*job, PathsOf(inputs_), options_)) return TakeReport(notes);
    publisher_->Clear();
    return BeginTo(Ended::Clear);
}

Expected<void> ImportRun::BeginTo(ProjectPublisher::Ended ended) {
    using Existing = ProjectPublisher::Existing;
    publisher_.reset();
    auto publisher = ProjectPublisher::Begin(
        report_.project, options_.overwrite ? Existing::Replace : Existing::Keep, ended);
    if (!publisher) return ErrorOf(publisher);
    publisher_.emplace(std::move(*publisher));
    continued_ = keepsTasks_ = publisher_->Continues();
    return {};
}

ImportWork::Place ImportRun::PlaceOfTasks(const CString& folder, std::uint64_t points) {
    return {inputs_, options_, points, publisher_->Working(), folder, publisher_->Text()};
}

// BEHAVIOUR I27
Expected<void> ImportRun::ContinueTasks() {
    const auto folder = publisher_->TasksFolder();
    if (!folder) return ErrorOf(folder);
    const TaskNotes notes(*folder);
    TaskJob job;
    if (continued_) {
        auto read = ReadJob(notes);
        if (!read) return ErrorOf(read);
        job = std::move(*read);
        if (auto same = RequireSame(job, PathsOf(inputs_), options_); !same) return same;
    } else {
        auto made = NewJob(report_.project, PathsOf(inputs_), options_, plan_);
        if (!made) return ErrorOf(made);
        job = std::move(*made);
        if (auto written = WriteJob(notes, job); !written) return written;
        keepsTasks_ = true;
    }
    ImportWork work(PlaceOfTasks(*folder, job.sortPoints), plan_, pool_);
    if (continued_) {
        meter_.Begin(ImportPhase::Scan, 0);
        notes.RemoveUnfinished();
        if (auto checked = work.CheckRuns(); !checked) return checked;
    }
    return RunWork(work);
}

// The points are sorted through the disk, in tasks that a continued import need not do again. Inputs
// that are no files cannot be known again.
Expected<void> ImportRun::SpillIntoTasks() {
    kept_.Clear();
    const auto folder = publisher_->TasksFolder();
    if (!folder) return ErrorOf(folder);
    const auto job = NewJob(report_.project, PathsOf(inputs_), options_, plan_);
    if (job) {
        if (auto written = WriteJob(TaskNotes(*folder), *job); !written) return written;
    }
    ImportWork work(PlaceOfTasks(*folder, SortPointsOf(plan_)), plan_, pool_);
    auto taken = work.TakeSurveys(std::move(found_));
    return taken ? RunWork(work) : taken;
}

Expected<void> ImportRun::RunWork(ImportWork& work) {
    if (auto done = RunTasks(work, pool_); !done) return done;
    return TakeReport(work.Notes());
}

Expected<void> ImportRun::TakeReport(const TaskNotes& notes) {
    auto report = ReadReport(notes);
    if (!report) return ErrorOf(report);
    report->project = report_.project;
    report_ = std::move(*report);
    return {};
}

bool ImportRun::FitsInMemory() const {
    return survey_.usable * kAlivePointBytes <= plan_.poolBytes;
}

Expected<void> ImportRun::ImportAtOnce() {
    if (auto scanned = Scan(); !scanned) return scanned;
    const bool fits = FitsInMemory();
    if (auto enough = CheckSpace(!fits); !enough) return enough;
    if (!fits) return SpillIntoTasks();
    Expected<void> done = Sort();
    if (done) done = WriteGrid();
    if (done) done = WriteSkeleton();
    return done ? WriteRecords() : done;
}

std::uint64_t ImportRun::InputBytes() const {
    std::uint64_t bytes = 0;
    for (const ScanInput& input : inputs_) bytes += input.reader->FileBytes();
    return bytes;
}

Expected<void> ImportRun::Scan() {
    meter_.Begin(ImportPhase::Scan, InputBytes());
    auto found = SurveyInputs(inputs_, 0, inputs_.size() - 1, options_, stations_, pool_, &kept_);
    if (!found) return ErrorOf(found);
    found_ = std::move(*found);
    auto survey = JoinSurveys(found_, inputs_, options_, stations_);
    if (!survey) return ErrorOf(survey);
    survey_ = std::move(*survey);
    ReportSurvey(inputs_, stations_, survey_, report_);
    return {};
}

// The points, a quarter of that for indexes and skeleton, and the runs where points are sorted
// through the disk. A cloud that needs more still ends in NoSpace, only later.
Expected<void> ImportRun::CheckSpace(bool spills) {
    const std::uint64_t points = survey_.usable * kAlivePointBytes;
    return RequireSpace(publisher_->Working().projectFilesFolder,
                        points + points / 4 + (spills ? points : 0));
}

Expected<void> ImportRun::Sort() {
    meter_.Begin(ImportPhase::Sort, InputBytes());
    RecordSorter sorter(inputs_, stations_, survey_, options_, plan_, pool_);
    auto sorted = sorter.SortAll(kept_, cloud_);
    kept_.Clear();
    if (!sorted) return sorted;
    report_.rejected = cloud_.rejected;
    for (const auto& [reason, count] : PointlessOf(survey_)) report_.rejected[reason] += count;
    if (auto met = CheckDecoded(cloud_.decoded, inputs_, stations_, survey_); !met) return met;
    if (cloud_.points == 0) return FailWithoutPoints(inputs_.front().path, report_);
    if (const auto warning = DistanceWarning(cloud_.bounds)) report_.warnings.push_back(*warning);
    return {};
}

Expected<void> ImportRun::WriteGrid() {
    meter_.Begin(ImportPhase::Write, cloud_.points * kAlivePointBytes);
    const bool fine = options_.skeleton != SkeletonSize::OneMetre;  // BEHAVIOUR I11
    grid_.emplace(survey_.frame,
                  fine ? IndexWriter::FineLevel::Write : IndexWriter::FineLevel::Omit);
    skeletonFiles_.emplace(publisher_->Working(), options_.skeleton, pool_);
    cloudSink_.emplace(survey_.frame, options_.skeleton, *grid_, *skeletonFiles_, skeleton_);
    Expected<void> done = grid_->Create(publisher_->Working());
    if (done) {
        done =
            MergeRuns(cloud_.runs, survey_.frame,
                      {.blockPoints = plan_.memoryBlockPoints, .removeDuplicates = options_.dedupe},
                      pool_, *cloudSink_);
    }
    return done ? FinishGrid() : done;
}

Expected<void> ImportRun::FinishGrid() {
    meter_.Begin(ImportPhase::Index, 0);
    cloud_.runs.clear();
    cloud_.pool.Release();
    const Removed& duplicates = grid_->Duplicates();
    report_.written = grid_->Points();
    report_.checksum = cloud_.checksum - duplicates.hash;
    if (duplicates.points != 0) report_.rejected[kDuplicate] = duplicates.points;
    if (auto accounted = CheckAccounted(report_); !accounted) return accounted;
    return pool_.RunOne([&] { return grid_->Finish(); });
}

Expected<void> ImportRun::WriteSkeleton() {
    meter_.Begin(ImportPhase::Skeleton,
                 cloudSink_->ThinsBlocks() ? 0 : report_.written * kAlivePointBytes);
    auto written = cloudSink_->FinishSkeleton();
    if (!written) return written;
    report_.skeletonPoints = skeleton_.points;
    meter_.Begin(ImportPhase::Finish, skeletonFiles_->CoarseBytes());
    return skeletonFiles_->WriteCoarse();
}

ProjectFacts ImportRun::Facts() const {
    ProjectFacts facts;
    facts.points = report_.written;
    facts.bounds = cloud_.bounds;
    facts.origin = survey_.origin;
    facts.skeletonSize = options_.skeleton;
    facts.skeleton = &skeleton_;
    facts.stationCount = report_.stations;
    facts.stations = StationRecordsOf(inputs_, stations_, survey_);
    return facts;
}

// The points were summed while they were written; the other files, a quarter of their size at most,
// are read back.
// BEHAVIOUR I21
Expected<void> ImportRun::WriteManifest() {
    std::vector<detail::FileSums> known;
    if (auto sums = grid_->Sums(); !sums.empty()) {
        known.push_back({detail::kPointsName, report_.written * kAlivePointBytes, std::move(sums)});
    }
    return detail::SumProject(
        publisher_->Working(), known,
        [this](std::size_t jobs, const detail::BlockJob& job) { return pool_.RunJobs(jobs, job); });
}

Expected<void> ImportRun::WriteRecords() {
    auto done = pool_.RunOne([&] { return WriteProjectRecords(publisher_->Working(), Facts()); });
    if (done) done = WriteManifest();
    return done ? pool_.RunOne([&] { return grid_->Close(); }) : done;
}

// Once the project has appeared, it is too late to cancel.
// BEHAVIOUR I18
Expected<void> ImportRun::Publish() {
    bool published = publisher_->IsPublished();
    const auto done = pool_.RunOne([&]() -> Expected<void> {
        Expected<void> step = published ? Expected<void>() : publisher_->Publish();
        published = step.has_value();
        if (!published) return step;
        for (const CString& path : publisher_->Clear()) {
            report_.warnings.push_back(fmt::format(
                "{} could not be removed; the next import of the project does it, or you may",
                platform::ToUtf8(path)));
        }
        publisher_.reset();
        return step;
    });
    return published ? Expected<void>() : done;
}

}  // namespace

Expected<ImportReport> ImportScans(const std::vector<ScanInput>& inputs, const CString& project,
                                   const ImportOptions& options, const MemoryPlan& plan,
                                   const ImportCallback& callback) {
    ImportRun run(inputs, project, options, plan, callback);
    try {
        return run.Run();
    } catch (const std::bad_alloc&) {
        return run.EndEarly(
            {ErrorCode::NoMemory,
             "memory ran out; lower the memory limit, use fewer threads, or close other programs"});
    }
}

}  // namespace orvix::importer
