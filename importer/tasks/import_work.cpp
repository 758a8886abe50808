// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/tasks/import_work.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <utility>

#include "importer/files/disk_space.h"
#include "importer/import_report.h"
#include "importer/tasks/joined_parts.h"
#include "importer/tasks/merge_part.h"
#include "importer/tasks/report_note.h"
#include "importer/tasks/survey_note.h"
#include "importer/tasks/task_runs.h"
#include "importer/write/project_records.h"
#include "importer/write/station_writer.h"
#include "orvix/geometry/bounds.h"
#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/project/access/import_marks.h"
#include "orvix/project/covered_files.h"

namespace orvix::importer {
namespace {

constexpr const char* kPlan = "plan";

Json JsonOf(const std::vector<RangeTask>& ranges) {
    Json json = Json::array();
    for (const RangeTask& range : ranges)
        json.push_back({range.low.block, range.low.inside, range.high.block, range.high.inside,
                        range.first, range.points});
    return json;
}

std::vector<RangeTask> RangesOf(const Json& json) {
    std::vector<RangeTask> ranges;
    for (const Json& range : json)
        ranges.push_back(
            {{range.at(0), range.at(1)}, {range.at(2), range.at(3)}, range.at(4), range.at(5)});
    return ranges;
}

// Parts are written into one file, in any order. Another process that plans finds it there.
Expected<void> CreatePoints(const CString& path) {
    std::error_code error;
    platform::File file = platform::File::CreateNew(path, error);
    if (error == std::errc::file_exists) return {};
    if (!error) file.Close(error);
    if (error) return FailSystem(error, "cannot create " + platform::ToUtf8(path));
    return {};
}

// Of a range that is planned longer than it became, without its duplicates, nothing is left over.
Expected<void> CutPoints(const CString& path, std::uint64_t bytes) {
    std::error_code error;
    platform::File file = platform::File::OpenReadWrite(path, error);
    if (!error && file.Size() < bytes) {
        return Fail(ErrorCode::Damaged, platform::ToUtf8(path) +
                                            " is shorter than what was written to it; begin the "
                                            "import anew, without --resume");
    }
    if (!error && file.Size() > bytes) {
        file.Resize(bytes, error);
        if (!error) file.Sync(error);
    }
    if (!error) file.Close(error);
    if (error) return FailSystem(error, "cannot write " + platform::ToUtf8(path));
    return {};
}

}  // namespace

ImportWork::ImportWork(const Place& place, const MemoryPlan& plan, ImportPool& pool)
    : place_(place),
      plan_(plan),
      pool_(pool),
      notes_(place.folder),
      stations_(place.inputs, place.options),
      found_(place.inputs.size()) {}

Expected<void> ImportWork::TakeSurveys(std::vector<InputSurvey> found) {
    found_ = std::move(found);
    return pool_.RunOne([&]() -> Expected<void> {
        for (std::size_t i = 0; i < found_.size() && !pool_.Stopping(); ++i) {
            if (auto written = WriteSurvey(notes_, i, found_[i]); !written) return written;
        }
        return {};
    });
}

// The working folder is this import's: neither given up nor published meanwhile.
// BEHAVIOUR I30
Expected<void> ImportWork::RequireOwn() const {
    const auto marker =
        orvix::detail::MarkerStateOf(place_.working.projectFilesFolder, place_.text);
    if (marker == orvix::detail::MarkerState::Own) return {};
    return Fail(ErrorCode::BadInput,
                "this import is no longer under way: it was given up, or its project has appeared");
}

// What follows from the surveys is worked out by every process for itself.
Expected<void> ImportWork::Prepare() {
    if (survey_) return {};
    for (std::size_t i = 0; i < found_.size(); ++i) {
        if (found_[i].parts.empty()) {
            auto read = ReadSurvey(notes_, i);
            if (!read) return ErrorOf(read);
            found_[i] = std::move(*read);
        }
        if (auto entered = stations_.EnterFound(i, found_[i].parts); !entered) return entered;
    }
    auto survey = JoinSurveys(found_, place_.inputs, place_.options, stations_);
    if (!survey) return ErrorOf(survey);
    sorts_ = PlanSorts(found_, place_.sortPoints, plan_.leastTaskPoints);
    levels_ = RunsByLevel(sorts_.size(), plan_.mergeRuns);
    survey_ = std::move(*survey);
    for (InputSurvey& found : found_) found = {};
    return {};
}

Expected<void> ImportWork::LoadRanges() {
    if (ranges_) return {};
    auto read = ReadNote(notes_, kPlan, RangesOf);
    if (!read) return ErrorOf(read);
    ranges_ = std::move(*read);
    return {};
}

// From the last level down: what a run was made of is needed again where that run is not sound.
// BEHAVIOUR I29
Expected<void> ImportWork::CheckRuns() {
    if (!AreSurveyed() || AreMerged()) return {};
    if (auto prepared = Prepare(); !prepared) return prepared;
    for (std::size_t level = levels_.size(); level-- > 0;) {
        for (const TaskName& task : RunsAt(level)) {
            const auto joined = [&] {
                return level + 1 < levels_.size() &&
                       IsDone({TaskKind::Join, task.number / plan_.mergeRuns,
                               static_cast<std::uint32_t>(level + 1)});
            };
            if (joined() || !IsDone(task)) continue;
            const auto sound = IsSound(notes_, task, pool_);
            if (!sound) return ErrorOf(sound);
            // Another process may have joined it meanwhile.
            if (!*sound && !joined()) RemoveRun(notes_, task);
        }
    }
    return {};
}

Expected<void> ImportWork::Run(const TaskName& task) {
    const auto all = All(task.kind);
    if (!all) return ErrorOf(all);
    if (std::find(all->begin(), all->end(), task) == all->end()) {
        return Fail(ErrorCode::BadInput, "the import has no task " + TextOf(task));
    }
    if (IsDone(task)) return {};
    if (task.kind != TaskKind::Sort) cloud_.pool.Release();
    switch (task.kind) {
        case TaskKind::Survey:
            return RunSurvey(static_cast<std::size_t>(task.number));
        case TaskKind::Sort:
            return RunSort(task);
        case TaskKind::Join:
            return RunJoin(task);
        case TaskKind::Plan:
            return RunPlan();
        case TaskKind::Merge:
            return RunMerge(task.number);
        case TaskKind::Finish:
            return RunFinish();
        case TaskKind::Publish:
            break;
    }
    return {};
}

Expected<void> ImportWork::RunSurvey(std::size_t input) {
    StationTable stations(place_.inputs, place_.options);
    auto found = SurveyInputs(place_.inputs, input, input, place_.options, stations, pool_);
    if (!found) return ErrorOf(found);
    found_[input] = std::move((*found)[input]);
    return WriteSurvey(notes_, input, found_[input]);
}

Expected<void> ImportWork::RunSort(const TaskName& task) {
    if (auto prepared = Prepare(); !prepared) return prepared;
    const SortTask& sort = sorts_[task.number];
    auto enough = RequireSpace(notes_.Folder(), sort.points * kAlivePointBytes);
    if (!enough) return enough;
    RecordSorter sorter(place_.inputs, stations_, *survey_, place_.options, plan_, pool_);
    cloud_.Clear();
    if (auto sorted = sorter.Sort(sort.stretch, cloud_); !sorted) return sorted;
    const RunFacts facts{cloud_.points, cloud_.checksum, cloud_.rejected, cloud_.bounds,
                         cloud_.decoded};
    auto written =
        WriteRun(notes_, task, cloud_.runs, facts, survey_->frame, plan_.memoryBlockPoints, pool_);
    cloud_.Clear();
    return written;
}

Expected<std::vector<SortedRun>> ImportWork::OpenRuns(const std::vector<TaskName>& names) const {
    std::vector<SortedRun> runs;
    for (const TaskName& name : names) {
        auto run = OpenRun(notes_, name);
        if (!run) return ErrorOf(run);
        runs.push_back(std::move(*run));
    }
    return runs;
}

Expected<void> ImportWork::RunJoin(const TaskName& task) {
    const std::vector<TaskName> group = JoinedBy(task);
    {
        const auto runs = OpenRuns(group);
        if (!runs) return IsDone(task) ? Expected<void>() : ErrorOf(runs);
        RunFacts facts;
        for (const SortedRun& run : *runs) facts.points += run.count;
        auto joined =
            WriteRun(notes_, task, *runs, facts, survey_->frame, plan_.fileBlockPoints, pool_);
        if (!joined) return joined;
    }
    // The notes of sorts stay: they account for the points.
    for (const TaskName& name : group) RemoveRunFiles(notes_, name);
    return {};
}

Expected<RunFacts> ImportWork::SumOfSorts() const {
    RunFacts sum;
    for (const TaskName& name : RunsAt(0)) {
        const auto facts = ReadRunFacts(notes_, name);
        if (!facts) return facts;
        for (const auto& [reason, count] : facts->rejected) sum.rejected[reason] += count;
        if (sum.decoded.size() < facts->decoded.size()) sum.decoded.resize(facts->decoded.size());
        for (std::size_t i = 0; i < facts->decoded.size(); ++i) sum.decoded[i] += facts->decoded[i];
        if (facts->points == 0) continue;
        if (sum.points == 0) sum.bounds = facts->bounds;
        detail::Join(sum.bounds, facts->bounds);
        sum.points += facts->points;
        sum.checksum += facts->checksum;
    }
    return sum;
}

Expected<void> ImportWork::RunPlan() {
    if (auto prepared = Prepare(); !prepared) return prepared;
    const auto facts = SumOfSorts();
    if (!facts) return ErrorOf(facts);
    auto met = CheckDecoded(facts->decoded, place_.inputs, stations_, *survey_);
    if (!met) return met;
    if (facts->points == 0) {
        ImportReport report;
        ReportSurvey(place_.inputs, stations_, *survey_, report);
        report.rejected = facts->rejected;
        for (const auto& [reason, count] : PointlessOf(*survey_)) report.rejected[reason] += count;
        return FailWithoutPoints(place_.inputs.front().path, report);
    }
    const std::uint64_t bytes = facts->points * kAlivePointBytes;
    auto enough = RequireSpace(place_.working.projectFilesFolder, bytes + bytes / 4);
    if (enough) enough = RequireOwn();
    if (enough) enough = CreatePoints(place_.working.gridPts);
    if (!enough) return enough;
    return pool_.RunOne([&]() -> Expected<void> {
        const auto runs = OpenRuns(LastRuns());
        if (!runs) return ErrorOf(runs);
        auto ranges = PlanRanges(*runs, survey_->frame, plan_.leastTaskPoints);
        if (!ranges) return ErrorOf(ranges);
        ranges_ = std::move(*ranges);
        return notes_.Write(kPlan, JsonOf(*ranges_));
    });
}

Expected<std::uint64_t> ImportWork::PlaceOf(std::uint64_t part) const {
    if (!place_.options.dedupe || part == 0) return (*ranges_)[part].first;
    const auto before = ReadPart(notes_, part - 1);
    if (!before) return ErrorOf(before);
    return before->first + before->points;
}

Expected<void> ImportWork::RunMerge(std::uint64_t part) {
    if (auto prepared = Prepare(); !prepared) return prepared;
    MergeRequest request;
    request.part = part;
    request.range = (*ranges_)[part];
    request.frame = survey_->frame;
    request.skeleton = place_.options.skeleton;
    const auto place = PlaceOf(part);
    if (!place) return ErrorOf(place);
    request.range.first = *place;
    request.merge = {plan_.fileBlockPoints, place_.options.dedupe, request.range.low,
                     request.range.high};
    std::vector<SortedRun> runs;
    for (const TaskName& name : LastRuns()) {
        auto run = OpenRun(notes_, name, request.range.low, request.range.high);
        if (!run) return ErrorOf(run);
        if (run->count != 0) runs.push_back(std::move(*run));
    }
    request.stillOwn = [this] { return RequireOwn(); };
    return MergePart(notes_, place_.working, runs, request, pool_);
}

void ImportWork::RemoveRuns() const {
    for (std::size_t level = 0; level < levels_.size(); ++level) {
        for (const TaskName& name : RunsAt(level)) RemoveRunFiles(notes_, name);
    }
}

// It writes the project's files in place, so one process does; another waits and finds it done.
Expected<void> ImportWork::RunFinish() {
    return pool_
        .RunOne([&]() -> Expected<void> {
            const CString path = notes_.PathOf("finish.lock");
            for (;;) {
                std::error_code error;
                finishing_ = platform::PathLock::TryAcquire(path, error);
                if (finishing_ || pool_.Stopping()) return {};
                if (error) return FailSystem(error, "cannot write " + platform::ToUtf8(path));
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
            }
        })
        .and_then([&] {
            auto done = IsDone({TaskKind::Finish}) ? Expected<void>() : FinishAlone();
            finishing_ = platform::PathLock();
            return done;
        });
}

Expected<void> ImportWork::FinishAlone() {
    if (auto prepared = Prepare(); !prepared) return prepared;
    if (!AreMerged()) return Fail(ErrorCode::BadInput, "the import has ranges that are not merged");
    if (auto own = RequireOwn(); !own) return own;
    pool_.Meter().Begin(ImportPhase::Index, 0);
    RemoveRuns();
    auto joined =
        JoinParts(notes_, place_.working, ranges_->size(), place_.options.skeleton, pool_);
    if (!joined) return ErrorOf(joined);
    const auto sorted = SumOfSorts();
    if (!sorted) return ErrorOf(sorted);
    ImportReport report;
    ReportSurvey(place_.inputs, stations_, *survey_, report);
    report.rejected = sorted->rejected;
    for (const auto& [reason, count] : PointlessOf(*survey_)) report.rejected[reason] += count;
    if (joined->removed.points != 0) report.rejected[kDuplicate] = joined->removed.points;
    report.written = joined->points;
    report.checksum = sorted->checksum - joined->removed.hash;
    report.skeletonPoints = joined->skeleton.points;
    if (const auto warning = DistanceWarning(sorted->bounds)) report.warnings.push_back(*warning);
    if (auto accounted = CheckAccounted(report); !accounted) return accounted;

    ProjectFacts facts;
    facts.points = report.written;
    facts.bounds = sorted->bounds;
    facts.origin = survey_->origin;
    facts.skeletonSize = place_.options.skeleton;
    facts.skeleton = &joined->skeleton;
    facts.stationCount = report.stations;
    facts.stations = StationRecordsOf(place_.inputs, stations_, *survey_);
    if (joined->sums.empty()) return FailDamagedNote(notes_.PathOf("merge_0.json"));
    const std::vector<detail::FileSums> known{
        {detail::kPointsName, report.written * kAlivePointBytes, joined->sums}};
    pool_.Meter().Begin(ImportPhase::Finish, 0);
    ProjectManager working = place_.working;
    auto done = pool_.RunOne([&]() -> Expected<void> {
        auto cut = CutPoints(working.gridPts, report.written * kAlivePointBytes);
        return cut ? WriteProjectRecords(working, facts) : cut;
    });
    if (done) {
        done = detail::SumProject(working, known,
                                  [this](std::size_t jobs, const detail::BlockJob& job) {
                                      return pool_.RunJobs(jobs, job);
                                  });
    }
    return done ? WriteReport(notes_, report) : done;
}

}  // namespace orvix::importer
