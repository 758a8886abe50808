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
#include "importer/write/grid_writer.h"
#include "importer/write/project_publisher.h"
#include "importer/write/project_records.h"
#include "importer/write/project_remains.h"
#include "importer/write/skeleton_writer.h"
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
          cloud_(plan.poolBytes) {
        report_.project = project;
    }

    Expected<ImportReport> Run();
    /// The failure, with the names of what could not be removed.
    tl::unexpected<Error> EndEarly(Error failure);

private:
    using Clock = std::chrono::steady_clock;

    Expected<void> Begin();
    Expected<void> Scan();
    [[nodiscard]] std::uint64_t InputBytes() const;
    Expected<void> Sort();
    Expected<void> CheckSpace(bool spills);
    Expected<void> WriteGrid();
    Expected<void> FinishGrid();
    Expected<void> WriteSkeleton();
    [[nodiscard]] ProjectFacts Facts() const;
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
    Survey survey_;
    SortedCloud cloud_;
    std::optional<GridWriter> grid_;
    SkeletonSummary skeleton_;
};

Expected<ImportReport> ImportRun::Run() {
    Expected<void> done = Begin();
    if (done) done = Scan();
    if (done) done = Sort();
    if (done) done = WriteGrid();
    if (done) done = WriteSkeleton();
    if (done) done = Publish();
    if (!done) return EndEarly(done.error());
    meter_.Complete();
    report_.seconds = std::chrono::duration<double>(Clock::now() - start_).count();
    report_.peakMemoryBytes = platform::PeakMemory();
    return std::move(report_);
}

// Files are closed first: some systems remove none that is open.
tl::unexpected<Error> ImportRun::EndEarly(Error failure) {
    grid_.reset();
    cloud_.runs.clear();
    if (publisher_) failure.message += RemainsSentence(publisher_->Clear());
    publisher_.reset();
    return tl::unexpected<Error>(std::move(failure));
}

Expected<void> ImportRun::Begin() {
    using Existing = ProjectPublisher::Existing;
    auto publisher = ProjectPublisher::Begin(
        report_.project, options_.overwrite ? Existing::Replace : Existing::Keep);
    if (!publisher) return ErrorOf(publisher);
    publisher_.emplace(std::move(*publisher));
    return {};
}

std::uint64_t ImportRun::InputBytes() const {
    std::uint64_t bytes = 0;
    for (const ScanInput& input : inputs_) bytes += input.reader->FileBytes();
    return bytes;
}

Expected<void> ImportRun::Scan() {
    meter_.Begin(ImportPhase::Scan, InputBytes());
    auto survey = SurveyScans(inputs_, options_, stations_, pool_);
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
    RecordSorter sorter(inputs_, stations_, survey_, options_, plan_, pool_);
    const bool spills = sorter.WillSpill();
    if (auto enough = CheckSpace(spills); !enough) return enough;
    meter_.Begin(ImportPhase::Sort,
                 InputBytes() + (spills ? survey_.usable * kAlivePointBytes : 0));
    auto sorted = sorter.Sort(cloud_, [this] { return publisher_->ScratchFolder(); });
    if (!sorted) return sorted;
    report_.rejected = cloud_.rejected;
    if (cloud_.points == 0) return FailWithoutPoints(inputs_.front().path, report_);
    if (const auto warning = DistanceWarning(cloud_.bounds)) report_.warnings.push_back(*warning);
    return {};
}

Expected<void> ImportRun::WriteGrid() {
    meter_.Begin(ImportPhase::Write, cloud_.points * kAlivePointBytes);
    const bool fine = options_.skeleton != SkeletonSize::OneMetre;  // BEHAVIOUR I11
    grid_.emplace(survey_.frame,
                  fine ? IndexWriter::FineLevel::Write : IndexWriter::FineLevel::Omit);
    const std::uint64_t block = cloud_.onDisk ? plan_.fileBlockPoints : plan_.memoryBlockPoints;
    Expected<void> done = grid_->Create(publisher_->Working());
    if (done) {
        done = MergeRuns(cloud_.runs, survey_.frame, {block, options_.dedupe}, pool_, *grid_);
    }
    return done ? FinishGrid() : done;
}

Expected<void> ImportRun::FinishGrid() {
    meter_.Begin(ImportPhase::Index, 0);
    cloud_.runs.clear();
    cloud_.pool.Release();
    if (auto removed = publisher_->RemoveScratch(); !removed) return removed;
    const Removed& duplicates = grid_->Duplicates();
    report_.written = grid_->Points();
    report_.checksum = cloud_.checksum - duplicates.hash;
    if (duplicates.points != 0) report_.rejected[kDuplicate] = duplicates.points;
    if (auto accounted = CheckAccounted(report_); !accounted) return accounted;
    return pool_.RunOne([&] { return grid_->Finish(); });
}

Expected<void> ImportRun::WriteSkeleton() {
    meter_.Begin(ImportPhase::Skeleton, report_.written * kAlivePointBytes);
    SkeletonWriter skeleton(publisher_->Working(), options_.skeleton, pool_);
    auto written = skeleton.Write(grid_->Finished(), skeleton_);
    if (!written) return written;
    report_.skeletonPoints = skeleton_.points;
    meter_.Begin(ImportPhase::Finish, skeleton.CoarseBytes());
    return skeleton.WriteCoarse();
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

// Once the project has appeared, it is too late to cancel.
// BEHAVIOUR I18
Expected<void> ImportRun::Publish() {
    bool published = false;
    auto done = pool_.RunOne([&] { return WriteProjectRecords(publisher_->Working(), Facts()); });
    if (done) done = WriteManifest();
    if (!done) return done;
    done = pool_.RunOne([&]() -> Expected<void> {
        Expected<void> step = grid_->Close();
        if (step) step = publisher_->Publish();
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
