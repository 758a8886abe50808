// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/repair/repair.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "importer/files/disk_space.h"
#include "importer/files/synced_file.h"
#include "importer/import_pool.h"
#include "importer/repair/damage.h"
#include "importer/repair/derived_files.h"
#include "importer/repair/point_passes.h"
#include "importer/write/project_records.h"
#include "importer/write/skeleton_writer.h"
#include "orvix/platform/crc32c.h"
#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/project/covered_files.h"
#include "orvix/project/import_marks.h"
#include "orvix/project/project_paths.h"
#include "orvix/project/project_settings_file.h"

namespace orvix::importer {
namespace {

using detail::FileSums;
using platform::ToUtf8;

constexpr std::uint32_t kMaxStations = 65'536;

class ProjectRepair {
public:
    ProjectRepair(const RepairOptions& options, const ImportCallback& callback)
        : options_(options), meter_(callback), pool_(meter_, options.threads) {}
    ~ProjectRepair() { RemoveParts(); }
    ProjectRepair(const ProjectRepair&) = delete;
    ProjectRepair& operator=(const ProjectRepair&) = delete;

    Expected<RepairReport> Run(const CString& project);

private:
    Expected<void> Open(const CString& project);
    Expected<void> RequireOwnRecord() const;
    Expected<void> Judge();
    [[nodiscard]] const JudgedFile& FileOf(const std::string& name) const;
    [[nodiscard]] bool NeedsBuild() const;
    [[nodiscard]] bool TakesDamagedPoints() const;

    Expected<void> Build();
    Expected<void> BuildWith(SkeletonSize size);
    [[nodiscard]] std::vector<SkeletonSize> Sizes() const;
    [[nodiscard]] bool FitsTheManifest() const;
    [[nodiscard]] CLOUD_HEADER Head() const;
    Expected<void> WriteRecords();

    Expected<void> Decide();
    Expected<FileState> DecideDerived(const Derived& derived, const JudgedFile& file);
    Expected<void> DecideRecord(const JudgedFile& file);
    void Add(const JudgedFile& file, FileState state, std::string why);
    Expected<void> Replace();
    Expected<void> WriteManifest();
    void RemoveParts() const;

    const RepairOptions& options_;
    ProgressMeter meter_;
    ImportPool pool_;
    RepairReport report_;
    ProjectManager paths_;
    ProjectManager parts_;  // the same with the names of unfinished files
    platform::PathLock lock_;
    std::optional<detail::Manifest> manifest_;
    bool manifestDamaged_ = false;
    std::vector<JudgedFile> files_;
    SyncedFile points_;
    PointExtent extent_;
    SkeletonSize size_ = SkeletonSize::TenCentimetres;
    SkeletonSummary skeleton_;
    std::uint64_t skeletonPoints_ = 0;
};

detail::BlockRunner RunnerOf(ImportPool& pool) {
    return [&pool](std::size_t jobs, const detail::BlockJob& job) {
        return pool.RunJobs(jobs, [&](std::size_t number, unsigned worker) {
            auto done = job(number, worker);
            pool.Meter().Add(detail::kSumBlockBytes, 0);
            return done;
        });
    };
}

// Other programs keep files of the ending .prj too, and a folder may serve any file of its name.
Expected<void> ProjectRepair::RequireOwnRecord() const {
    const bool named =
        platform::FoldCase(paths_.projectFile).ends_with(platform::FoldCase(L".prj"));
    if (!platform::PathExists(paths_.projectFile)) {
        if (named) return {};
        return Fail(ErrorCode::BadInput, ToUtf8(paths_.projectFile) +
                                             " does not exist; name the project file, which ends "
                                             "in .prj");
    }
    const auto record = detail::ExamineSettingsFile(paths_.projectFile);
    if (!record) return ErrorOf(record);
    std::uint64_t bytes = 0;
    platform::QueryFileSize(paths_.projectFile, bytes);
    const bool ours =
        *record != detail::SettingsRecord::Foreign || (named && bytes <= kProjectFileBytes);
    if (ours) return {};
    return Fail(ErrorCode::BadInput, ToUtf8(paths_.projectFile) +
                                         " is no settings record of a project, and stays; name "
                                         "the .prj file that 'orvix import' made");
}

Expected<void> ProjectRepair::Open(const CString& project) {
    if (platform::IsFolder(project) || project.empty()) {
        return Fail(ErrorCode::BadInput, ToUtf8(project) + " is no project file");
    }
    detail::BuildPaths(paths_, project);
    std::uint64_t bytes = 0;
    if (!platform::QueryFileSize(paths_.gridPts, bytes) || platform::IsFolder(paths_.gridPts)) {
        return Fail(ErrorCode::BadInput,
                    fmt::format("{} has no points: there is no {}; name a project file, or import "
                                "the scans again",
                                ToUtf8(project), ToUtf8(paths_.gridPts)));
    }
    if (auto own = RequireOwnRecord(); !own) return own;
    if (auto settled = detail::RequireNotHalfReplaced(project); !settled) return settled;
    std::error_code error;
    lock_ = platform::PathLock::TryAcquire(detail::ManifestLockPath(detail::ManifestPath(paths_)),
                                           error);
    if (error)
        return FailSystem(error, ToUtf8(paths_.projectFilesFolder) + " cannot be written to");
    if (!lock_) {
        return Fail(ErrorCode::Failure, ToUtf8(project) +
                                            " is being repaired or saved by another program; wait "
                                            "until it has ended");
    }
    parts_ = paths_;
    for (const Derived& derived : kDerived) {
        parts_.*derived.path = detail::UnfinishedPathOf(paths_.*derived.path);
    }
    report_.points = bytes / kAlivePointBytes;
    return {};
}

Expected<void> ProjectRepair::Judge() {
    auto manifest = detail::ReadManifest(detail::ManifestPath(paths_));
    manifestDamaged_ = !manifest;
    if (!manifest && manifest.error().code != ErrorCode::Damaged) return ErrorOf(manifest);
    if (manifest) manifest_ = std::move(*manifest);
    std::uint64_t bytes = 0;
    if (manifest_) {
        for (const FileSums& file : manifest_->files) bytes += file.bytes;
    }
    meter_.Begin(ImportPhase::Scan, bytes);
    auto files = JudgeFiles(paths_, manifest_, RunnerOf(pool_));
    if (!files) return ErrorOf(files);
    files_ = std::move(*files);
    for (const Derived& derived : kDerived) {
        const auto same = [&](const JudgedFile& file) { return file.name == derived.name; };
        if (std::any_of(files_.begin(), files_.end(), same)) continue;
        files_.push_back({derived.name, paths_.*derived.path, Judgement::Missing, {}, {}});
    }
    auto damaged = DamagedStretches(FileOf(detail::kPointsName), FileOf("Index/Grid.idx"));
    if (!damaged) return ErrorOf(damaged);
    report_.damaged = std::move(*damaged);
    return {};
}

const JudgedFile& ProjectRepair::FileOf(const std::string& name) const {
    return *std::find_if(files_.begin(), files_.end(),
                         [&](const JudgedFile& file) { return file.name == name; });
}

bool ProjectRepair::TakesDamagedPoints() const {
    return FileOf(detail::kPointsName).judgement == Judgement::Damaged;
}

// Where all that the points determine is as it was written, they need not be read.
bool ProjectRepair::NeedsBuild() const {
    const bool coarse = manifest_ && std::none_of(manifest_->files.begin(), manifest_->files.end(),
                                                  [](const FileSums& file) {
                                                      return file.name == "Index/Grid10cm.idx";
                                                  });
    return TakesDamagedPoints() ||
           std::any_of(std::begin(kDerived), std::end(kDerived), [&](const Derived& derived) {
               return FileOf(derived.name).judgement != Judgement::Sound &&
                      !(derived.fine && coarse);
           });
}

std::vector<SkeletonSize> ProjectRepair::Sizes() const {
    CLOUD_HEADER head;
    const auto bytes = ReadSmall(paths_.headFile);
    if (bytes.size() == sizeof head) std::memcpy(&head, bytes.data(), sizeof head);
    std::vector<SkeletonSize> sizes{SkeletonSize::TenCentimetres, SkeletonSize::OneMetre,
                                    SkeletonSize::OneCentimetre};
    const auto said = std::find_if(sizes.begin(), sizes.end(),
                                   [&](SkeletonSize size) { return ScaleOf(size) == head.scale; });
    if (said != sizes.end()) std::rotate(sizes.begin(), said, said + 1);
    return sizes;
}

// Whether the skeleton that was made is of the size that the manifest holds of it.
bool ProjectRepair::FitsTheManifest() const {
    const JudgedFile& places = FileOf(detail::kSkeletonPlacesName);
    const bool fine = size_ != SkeletonSize::OneMetre;
    if (!manifest_ || !places.stored) return true;
    return places.stored->bytes == skeletonPoints_ * kSkeletonRecordBytes &&
           FileOf("Index/Grid10cm.idx").stored.has_value() == fine;
}

Expected<void> ProjectRepair::BuildWith(SkeletonSize size) {
    size_ = size;
    skeleton_ = {};
    RemoveParts();
    const bool fine = size != SkeletonSize::OneMetre;
    IndexWriter index(GridFrame(extent_.bounds),
                      fine ? IndexWriter::FineLevel::Write : IndexWriter::FineLevel::Omit);
    Expected<void> done = index.Create(parts_);
    if (done) done = IndexPoints(points_, extent_, pool_, index);
    if (done) done = index.Finish();
    if (!done) return done;
    SkeletonWriter skeleton(parts_, size, pool_);
    done = skeleton.Write({&points_, &index.Cells100(), index.Cells100Count()}, skeleton_);
    skeletonPoints_ = skeleton_.points;
    return done ? skeleton.WriteCoarse() : done;
}

Expected<void> ProjectRepair::Build() {
    const std::uint64_t bytes = report_.points * kAlivePointBytes;
    meter_.Begin(ImportPhase::Index, 3 * bytes);
    std::error_code ignored;  // a folder that cannot be made lets the files in it fail
    for (const CString* folder : {&paths_.indexFolder, &paths_.dataFolder, &paths_.dataViewFolder,
                                  &paths_.logicViewFolder}) {
        platform::MakeFolder(*folder, ignored);
    }
    Expected<void> done = RequireSpace(paths_.projectFilesFolder, bytes / 4);
    if (done) done = points_.OpenRead(paths_.gridPts);
    if (!done) return done;
    if (report_.points == 0) {
        return Fail(ErrorCode::Damaged,
                    ToUtf8(paths_.gridPts) + " holds no point; import the scans again");
    }
    auto extent = MeasurePoints(points_, report_.points, pool_);
    if (!extent) return ErrorOf(extent);
    extent_ = *extent;
    const std::vector<SkeletonSize> sizes = Sizes();
    bool fits = false;
    for (std::size_t i = 0; done && !fits && i < sizes.size(); ++i) {
        done = BuildWith(sizes[i]);
        fits = done && FitsTheManifest();
    }
    if (done && !fits) done = BuildWith(sizes.front());
    report_.skeletonPoints = skeletonPoints_;
    return done ? WriteRecords() : done;
}

// The number of stations does not follow from the points where some stations have none: the manifest's
// sum of the head decides, else the former head, unless points name more.
CLOUD_HEADER ProjectRepair::Head() const {
    ProjectFacts facts;
    facts.points = extent_.points;
    facts.bounds = extent_.bounds;
    facts.skeletonSize = size_;
    facts.skeleton = &skeleton_;
    CLOUD_HEADER head = HeadOf(facts);
    const auto bytes = ReadSmall(paths_.headFile);
    CLOUD_HEADER former;
    if (bytes.size() == sizeof former) std::memcpy(&former, bytes.data(), sizeof former);
    const auto& stored = FileOf(detail::kHeadName).stored;
    for (std::uint32_t i = extent_.stations; stored && i <= kMaxStations; ++i) {
        head.stationCount = i;
        std::array<std::uint8_t, kHeadFileBytes> candidate{};
        std::memcpy(candidate.data(), &head, candidate.size());
        if (detail::SumsOf("", candidate).sums == stored->sums) return head;
    }
    const bool plausible =
        former.stationCount >= extent_.stations && former.stationCount <= kMaxStations;
    head.stationCount = plausible ? former.stationCount : extent_.stations;
    return head;
}

Expected<void> ProjectRepair::WriteRecords() {
    Expected<void> done = skeleton_.histograms.Write(parts_);
    const CLOUD_HEADER head = Head();
    std::array<std::uint8_t, kHeadFileBytes> bytes{};
    std::memcpy(bytes.data(), &head, bytes.size());
    if (done) done = WriteNew(parts_.headFile, bytes);
    const auto settings = detail::EncodeSettings(kSettingsVersion, SettingsOf(skeleton_));
    return done ? WriteNew(parts_.projectFile, settings) : done;
}

void ProjectRepair::Add(const JudgedFile& file, FileState state, std::string why) {
    report_.files.push_back({file.name, file.path, state, std::move(why)});
}

// A file that has its sum stays; another one stays where it is what the points make of it.
Expected<FileState> ProjectRepair::DecideDerived(const Derived& derived, const JudgedFile& file) {
    const bool followsThePoints = !TakesDamagedPoints() || file.name == detail::kSettingsName;
    if (file.judgement == Judgement::Sound && followsThePoints) return FileState::Sound;
    if (file.judgement == Judgement::Missing) return FileState::Rebuilt;
    if (file.name == detail::kSettingsName && file.judgement != Judgement::Damaged) {
        // Users change settings, so they are not compared with the defaults.
        const auto record = detail::ExamineSettingsFile(file.path);
        if (!record) return ErrorOf(record);
        return *record == detail::SettingsRecord::Whole ? FileState::Sound : FileState::Rebuilt;
    }
    const bool pairs =
        file.name == detail::kSkeletonDataName && file.judgement != Judgement::Damaged;
    const auto alike = AreAlike(parts_.*derived.path, file.path, pairs);
    if (!alike) return ErrorOf(alike);
    return *alike ? FileState::Sound : FileState::Rebuilt;
}

// What comes from the scans alone.
// BEHAVIOUR I26
Expected<void> ProjectRepair::DecideRecord(const JudgedFile& file) {
    const bool fine = file.judgement == Judgement::Sound || file.judgement == Judgement::Unsummed;
    if (fine) {
        Add(file, FileState::Sound, "");
        return {};
    }
    const auto bytes = ReadSmall(file.path);
    if (file.judgement == Judgement::Damaged && file.stored->sums.size() == 1 &&
        bytes.size() == file.stored->bytes) {
        if (const auto mended = WithoutFlippedBit(bytes, file.stored->sums.front())) {
            Add(file, FileState::Mended, "one bit had flipped; its sum shows which");
            return options_.dryRun ? Expected<void>()
                                   : WriteNew(detail::UnfinishedPathOf(file.path), *mended);
        }
    }
    const bool missing = file.judgement == Judgement::Missing;
    if (options_.accept) {
        Add(file, FileState::Accepted, missing ? "is missing" : "is taken as it is");
    } else {
        Add(file, FileState::Lost,
            missing ? "is missing, and only the scans hold it"
                    : "is not as it was written, and only the scans hold it");
    }
    return {};
}

Expected<void> ProjectRepair::Decide() {
    for (const JudgedFile& file : files_) {
        const auto derived = std::find_if(std::begin(kDerived), std::end(kDerived),
                                          [&](const Derived& d) { return file.name == d.name; });
        if (file.name == detail::kPointsName) {
            const bool damaged = file.judgement == Judgement::Damaged;
            Add(file, damaged ? FileState::Accepted : FileState::Sound,
                damaged ? "is taken as it is" : "");
            continue;
        }
        if (derived == std::end(kDerived)) {
            if (auto done = DecideRecord(file); !done) return done;
            continue;
        }
        const bool absent = derived->fine && size_ == SkeletonSize::OneMetre;
        if (absent || extent_.points == 0) {
            if (!absent || platform::PathExists(file.path)) Add(file, FileState::Sound, "");
            continue;
        }
        const auto state = DecideDerived(*derived, file);
        if (!state) return ErrorOf(state);
        const char* why = file.judgement == Judgement::Missing   ? "was missing"
                          : file.judgement == Judgement::Damaged ? "was not as it was written"
                                                                 : "did not go with the points";
        Add(file, *state, *state == FileState::Rebuilt ? why : "");
    }
    return {};
}

Expected<void> ProjectRepair::Replace() {
    std::error_code error;
    for (const RepairedFile& file : report_.files) {
        if (file.state != FileState::Rebuilt && file.state != FileState::Mended) continue;
        platform::Rename(detail::UnfinishedPathOf(file.path), file.path, error);
        if (error) return FailSystem(error, ToUtf8(file.path) + " could not be replaced");
        platform::SyncFolder(platform::ParentOf(file.path), error);
    }
    return {};
}

// What is lost keeps its former sum, so that the check goes on to name it.
Expected<void> ProjectRepair::WriteManifest() {
    std::vector<FileSums> known;
    bool same = manifest_.has_value() && detail::TimesWritten(paths_.gridPts) == 0;
    for (const RepairedFile& file : report_.files) {
        const JudgedFile& judged = FileOf(file.name);
        const bool sound = file.state == FileState::Sound && judged.judgement == Judgement::Sound;
        if (judged.stored && (sound || file.state == FileState::Lost))
            known.push_back(*judged.stored);
        same = same && (sound || file.state == FileState::Lost);
    }
    std::error_code error;
    // Of a writer that was ended: this repair may write no manifest.
    platform::RemoveFile(detail::UnfinishedManifestPath(detail::ManifestPath(paths_)), error);
    if (same) return {};
    Expected<void> done = detail::SumProject(paths_, known, RunnerOf(pool_));
    if (!done) return done;
    report_.summed = true;
    error.clear();
    const CString mark = detail::WrittenMarkPath(paths_.gridPts);
    if (platform::PathExists(mark)) platform::RemoveFile(mark, error);
    if (error) return FailSystem(error, ToUtf8(mark) + " could not be removed");
    return {};
}

void ProjectRepair::RemoveParts() const {
    if (!lock_) return;
    std::error_code ignored;
    for (const CString& path : detail::UnfinishedFiles(paths_)) platform::RemoveFile(path, ignored);
}

Expected<RepairReport> ProjectRepair::Run(const CString& project) {
    Expected<void> done = Open(project);
    if (done) done = Judge();
    if (!done) return ErrorOf(done);
    if (!report_.damaged.empty() && !options_.accept) return std::move(report_);
    if (NeedsBuild()) done = Build();
    if (done) done = Decide();
    if (done && extent_.points != 0) done = points_.Close();
    if (done && !options_.dryRun) done = Replace();
    if (done && !options_.dryRun) done = WriteManifest();
    if (!done) return ErrorOf(done);
    RemoveParts();
    meter_.Complete();
    return std::move(report_);
}

}  // namespace

bool RepairReport::Ok() const {
    const bool pointsTaken = std::any_of(files.begin(), files.end(), [](const RepairedFile& file) {
        return file.name == detail::kPointsName && file.state == FileState::Accepted;
    });
    return (damaged.empty() || pointsTaken) &&
           std::none_of(files.begin(), files.end(),
                        [](const RepairedFile& file) { return file.state == FileState::Lost; });
}

// BEHAVIOUR I25
Expected<RepairReport> Repair(const CString& project, const RepairOptions& options,
                              const ImportCallback& callback) {
    return ProjectRepair(options, callback).Run(project);
}

}  // namespace orvix::importer
