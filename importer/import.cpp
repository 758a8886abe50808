// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/import.h"

#include <fmt/format.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include "importer/files/disk_space.h"
#include "importer/formats/open_scan.h"
#include "importer/grid/surface_density.h"
#include "importer/import_pool.h"
#include "importer/scans/coordinate_frame.h"
#include "importer/scans/import_scans.h"
#include "importer/sort/record_sorter.h"
#include "importer/sort/run_merge.h"
#include "importer/write/index_writer.h"
#include "importer/write/project_publisher.h"
#include "importer/write/skeleton_writer.h"
#include "importer/write/station_writer.h"
#include "orvix/platform/path.h"
#include "orvix/platform/system.h"
#include "orvix/project/transform_file.h"

namespace orvix::importer {
namespace {

using platform::ToUtf8;

constexpr double kSplitSteps = 4;  // base steps in a default split size
constexpr double kMillimetres = 1000;

double ScaleOf(SkeletonSize size) {
    switch (size) {
        case SkeletonSize::OneCentimetre:
            return 0.01;
        case SkeletonSize::TenCentimetres:
            return 0.1;
        case SkeletonSize::OneMetre:
            break;
    }
    return 1.0;
}

/// Writes merged blocks as the project's points and tells their cells to its indexes.
class GridSink : public MergeSink {
public:
    GridSink(SyncedFile& points, IndexWriter& index) : points_(points), index_(index) {}

    Expected<void> Commit(MergedBlock& block) override {
        block.offset = index_.Points();
        removed_.points += block.removed.points;
        removed_.hash += block.removed.hash;
        return index_.Add(block.cells);
    }
    Expected<void> Store(const MergedBlock& block) override {
        return points_.WriteAt(block.offset * kAlivePointBytes, block.points.Data(),
                               block.points.Size() * kAlivePointBytes);
    }
    [[nodiscard]] const Removed& Duplicates() const { return removed_; }

private:
    SyncedFile& points_;
    IndexWriter& index_;
    Removed removed_;
};

// Whether replacing the project's folder would take the input with it.
bool LiesInProject(const CString& input, const CString& project) {
    const CString folder =
        platform::RemoveExtension(platform::AbsolutePath(project)) + L"_Project_Files";
    for (CString path = platform::AbsolutePath(input); !path.empty();) {
        if (platform::IsSameFile(path, folder)) return true;
        path = platform::ParentOf(path);
    }
    return false;
}

Expected<void> CheckInputs(const std::vector<CString>& inputs, const CString& project) {
    if (inputs.empty()) return Fail(ErrorCode::BadInput, "there is nothing to import; name a scan");
    if (inputs.size() > kMostStations) {
        return Fail(ErrorCode::BadInput,
                    fmt::format("{} inputs are more than the {} stations of a project; import them "
                                "into several projects",
                                inputs.size(), kMostStations));
    }
    for (const CString& input : inputs) {
        if (LiesInProject(input, project)) {
            return Fail(ErrorCode::BadInput,
                        fmt::format("{} lies in the folder of the project that it would replace; "
                                    "move it out first",
                                    ToUtf8(input)));
        }
        if (!platform::IsSameFile(input, project)) continue;
        return Fail(ErrorCode::BadInput, fmt::format("{} is both a scan and the project; give the "
                                                     "project another name",
                                                     ToUtf8(input)));
    }
    return {};
}

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

    Expected<ImportReport> Run() {
        Expected<void> done = Begin();
        if (done) done = Scan();
        if (done) done = Sort();
        if (done) done = WriteGrid();
        if (done) done = WriteSkeleton();
        if (done) done = Publish();
        if (!done) return tl::unexpected<Error>(done.error());
        meter_.Complete();
        report_.seconds = std::chrono::duration<double>(Clock::now() - start_).count();
        report_.peakMemoryBytes = platform::PeakMemory();
        return std::move(report_);
    }

private:
    using Clock = std::chrono::steady_clock;
    using Existing = ProjectPublisher::Existing;

    Expected<void> Begin() {
        auto publisher = ProjectPublisher::Begin(
            report_.project, options_.overwrite ? Existing::Replace : Existing::Keep);
        if (!publisher) return tl::unexpected<Error>(publisher.error());
        publisher_.emplace(std::move(*publisher));
        return {};
    }

    [[nodiscard]] std::uint64_t InputBytes() const {
        std::uint64_t bytes = 0;
        for (const ScanInput& input : inputs_) bytes += input.reader->FileBytes();
        return bytes;
    }

    Expected<void> Scan() {
        meter_.Begin(ImportPhase::Scan, InputBytes());
        auto survey = SurveyScans(inputs_, options_, stations_, pool_);
        if (!survey) return tl::unexpected<Error>(survey.error());
        survey_ = std::move(*survey);
        report_.read = survey_.Read();
        report_.stations = static_cast<std::uint32_t>(stations_.Count());
        report_.origin = {survey_.origin.x, survey_.origin.y, survey_.origin.z};
        for (const ScanInput& input : inputs_) {
            report_.inputs.push_back({input.path, input.reader->Info().format, 0});
        }
        for (std::size_t i = 0; i < stations_.Count(); ++i) ReportScan(i);
        return {};
    }

    void ReportScan(std::size_t number) {
        const Station& station = stations_[number];
        const Survey::Scan& met = survey_.scans[number];
        const ScanInput& input = inputs_[station.input];
        report_.inputs[station.input].points += met.Read();
        const std::string warning = AttributeScale(input.reader->Info(), met.range).Warning();
        if (warning.empty()) return;
        const bool one = input.reader->Info().scans.size() == 1;
        report_.warnings.push_back(fmt::format("{}{}: {}", ToUtf8(input.path),
                                               one ? "" : fmt::format(" ({})", station.name),
                                               warning));
    }

    // The points, a quarter of that for indexes and skeleton, and the runs where points are sorted
    // through the disk. A cloud that needs more still ends in NoSpace, only later.
    Expected<void> CheckSpace(bool spills) {
        const std::uint64_t points = survey_.usable * kAlivePointBytes;
        return RequireSpace(publisher_->Working().projectFilesFolder,
                            points + points / 4 + (spills ? points : 0));
    }

    Expected<void> Sort() {
        RecordSorter sorter(inputs_, stations_, survey_, options_, plan_, pool_);
        const bool spills = sorter.WillSpill();
        if (auto enough = CheckSpace(spills); !enough) return enough;
        meter_.Begin(ImportPhase::Sort,
                     InputBytes() + (spills ? survey_.usable * kAlivePointBytes : 0));
        auto sorted = sorter.Sort(cloud_, [this] { return publisher_->ScratchFolder(); });
        if (!sorted) return sorted;
        report_.rejected = cloud_.rejected;
        if (cloud_.points == 0) return NothingToWrite();
        WarnOfDistance();
        return {};
    }

    [[nodiscard]] Expected<void> NothingToWrite() const {
        std::string reasons;
        for (const auto& [reason, count] : report_.rejected) {
            reasons += fmt::format("{}{} {}", reasons.empty() ? ": " : ", ", count, reason);
        }
        return Fail(ErrorCode::BadInput,
                    fmt::format("{} holds no point that can be imported ({} read{}); is it the "
                                "right file?",
                                ToUtf8(inputs_.front().path), report_.read, reasons));
    }

    void WarnOfDistance() {
        const ExtendsT<float>& b = cloud_.bounds;
        float largest = 0;
        for (const float v : {b.min.x, b.min.y, b.min.z, b.max.x, b.max.y, b.max.z}) {
            largest = std::max(largest, std::fabs(v));
        }
        if (largest < kFineLocal) return;
        const double step = static_cast<double>(
            std::nextafter(largest, std::numeric_limits<float>::infinity()) - largest);
        report_.warnings.push_back(fmt::format(
            "points lie up to {:.0f} m from the project's origin, where coordinates are "
            "stored in steps of {:.4g} mm; import distant scans into projects of their "
            "own",
            largest, step * kMillimetres));
    }

    Expected<void> WriteGrid() {
        meter_.Begin(ImportPhase::Write, cloud_.points * kAlivePointBytes);
        const ProjectManager& project = publisher_->Working();
        const bool fine = options_.skeleton != SkeletonSize::OneMetre;
        index_.emplace(survey_.frame,
                       fine ? IndexWriter::FineLevel::Write : IndexWriter::FineLevel::Omit);
        Expected<void> done = points_.Create(project.gridPts, Durability::Lasting);
        if (done) done = index_->Create(project);
        GridSink sink(points_, *index_);
        const std::uint64_t block = cloud_.onDisk ? plan_.fileBlockPoints : plan_.memoryBlockPoints;
        if (done) {
            done = MergeRuns(cloud_.runs, survey_.frame, {block, options_.dedupe}, pool_, sink);
        }
        if (done) done = FinishGrid(sink.Duplicates());
        return done;
    }

    Expected<void> FinishGrid(const Removed& duplicates) {
        meter_.Begin(ImportPhase::Index, 0);
        cloud_.runs.clear();
        cloud_.pool.Release();
        if (auto removed = publisher_->RemoveScratch(); !removed) return removed;
        report_.written = index_->Points();
        report_.checksum = cloud_.checksum - duplicates.hash;
        if (duplicates.points != 0) report_.rejected[kDuplicate] = duplicates.points;
        std::uint64_t accounted = report_.written;
        for (const auto& [reason, count] : report_.rejected) accounted += count;
        if (accounted != report_.read) {
            return Fail(ErrorCode::Failure,
                        fmt::format("{} points were read and {} are accounted for; nothing was "
                                    "imported, please report this",
                                    report_.read, accounted));
        }
        return pool_.RunOne([&] {
            Expected<void> done = points_.Finish();
            return done ? index_->Finish() : done;
        });
    }

    Expected<void> WriteSkeleton() {
        meter_.Begin(ImportPhase::Skeleton, report_.written * kAlivePointBytes);
        const ProjectManager& project = publisher_->Working();
        SkeletonWriter skeleton(project, options_.skeleton, pool_);
        const FinishedGrid grid{&points_, &index_->Cells100(), index_->Cells100Count()};
        auto written = skeleton.Write(grid, summary_);
        if (!written) return written;
        report_.skeletonPoints = summary_.points;
        meter_.Begin(ImportPhase::Finish, skeleton.CoarseBytes());
        return skeleton.WriteCoarse();
    }

    // The point files' own sizes, once more, before anything appears under the project's name.
    [[nodiscard]] Expected<void> CheckSizes(const ProjectManager& project) const {
        const std::array<std::pair<const CString*, std::uint64_t>, 3> files{
            {{&project.gridPts, report_.written * kAlivePointBytes},
             {&project.gridSkeletCoordPts, report_.skeletonPoints * kSkeletonRecordBytes},
             {&project.gridSkeletDataPts, report_.skeletonPoints * kSkeletonRecordBytes}}};
        for (const auto& [path, expected] : files) {
            std::uint64_t bytes = 0;
            if (platform::QueryFileSize(*path, bytes) && bytes == expected) continue;
            return Fail(ErrorCode::Failure,
                        fmt::format("{} holds {} bytes instead of {}; is another program at work "
                                    "in its folder?",
                                    ToUtf8(*path), bytes, expected));
        }
        return {};
    }

    [[nodiscard]] CLOUD_HEADER Head() const {
        // Adding zero turns negative zeros into positive ones.
        const auto wide = [](const SimplePointT<float>& p) {
            return SimplePointT<double>{p.x + 0.0, p.y + 0.0, p.z + 0.0};
        };
        CLOUD_HEADER head;
        head.pointCount = report_.written;
        head.skeletonCount = report_.skeletonPoints;
        head.scale = ScaleOf(options_.skeleton);
        head.bounds = {wide(cloud_.bounds.min), wide(cloud_.bounds.max)};
        head.stationCount = report_.stations;
        return head;
    }

    [[nodiscard]] PROJECT_SETTINGS Settings() const {
        PROJECT_SETTINGS settings;
        settings.baseStep = BaseStep(summary_.aliveDensity.Median());
        // The skeleton is thinner than the cloud: its neighbourhoods reach further.
        settings.skeletSplitSize = kSplitSteps * BaseStep(summary_.skeletonDensity.Median());
        return settings;
    }

    Expected<void> WriteStationFiles(const ProjectManager& project) const {
        for (std::size_t i = 0; i < stations_.Count(); ++i) {
            const Station& station = stations_[i];
            if (!station.pose) continue;
            StationRecord record{i, station.name, *station.pose, {}};
            record.pose.position.x -= survey_.origin.x;
            record.pose.position.y -= survey_.origin.y;
            record.pose.position.z -= survey_.origin.z;
            const ScanInfo& info = inputs_[station.input].reader->Info();
            const AttributeRange& range = survey_.scans[i].range;
            if (info.hasIntensity && range.intensities != 0) {
                const AttributeScale scale(info, range);
                record.intensities.emplace(scale.Intensity(range.minIntensity),
                                           scale.Intensity(range.maxIntensity));
            }
            if (auto written = WriteStation(project, record); !written) return written;
        }
        return {};
    }

    Expected<void> WriteRecords() {
        ProjectManager& project = publisher_->Working();
        Expected<void> done = summary_.histograms.Write(project);
        if (done) done = WriteStationFiles(project);
        if (done) {
            done = detail::WriteTransform(project.transformFile,
                                          detail::LocalToWorld::Translation(survey_.origin));
        }
        if (!done) return done;
        const CLOUD_HEADER head = Head();
        project.SetCloudHeader(&head);
        project.SetProjectSettings(Settings());
        ProjectManager check;
        if (!check.Set(project.projectFile, false)) {
            return Fail(ErrorCode::Failure,
                        fmt::format("the new project {} is not complete: {}",
                                    ToUtf8(project.projectFile), ToUtf8(check.errorText)));
        }
        return CheckSizes(project);
    }

    // Once the project has appeared, a wish to cancel comes too late.
    Expected<void> Publish() {
        bool published = false;
        auto done = pool_.RunOne([&]() -> Expected<void> {
            Expected<void> step = WriteRecords();
            if (!step || pool_.Stopping()) return step;
            step = points_.Close();
            if (step) step = publisher_->Publish();
            published = step.has_value();
            publisher_.reset();
            return step;
        });
        return published ? Expected<void>() : done;
    }

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
    SyncedFile points_;
    std::optional<IndexWriter> index_;
    SkeletonSummary summary_;
};

}  // namespace

Expected<ImportReport> ImportScans(const std::vector<ScanInput>& inputs, const CString& project,
                                   const ImportOptions& options, const MemoryPlan& plan,
                                   const ImportCallback& callback) {
    return ImportRun(inputs, project, options, plan, callback).Run();
}

Expected<ImportReport> Import(const std::vector<CString>& inputs, const CString& project,
                              const ImportOptions& options, const ImportCallback& callback) {
    if (auto checked = CheckInputs(inputs, project); !checked) {
        return tl::unexpected<Error>(checked.error());
    }
    std::vector<ScanInput> scans;
    for (const CString& path : inputs) {
        auto reader = OpenScan(path);
        if (!reader) return tl::unexpected<Error>(reader.error());
        scans.push_back({path, std::move(*reader)});
    }
    return ImportScans(scans, project, options,
                       PlanMemory(options.memoryLimitBytes, options.threads), callback);
}

}  // namespace orvix::importer
