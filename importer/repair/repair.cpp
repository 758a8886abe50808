// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/repair/repair.h"

#include <fmt/format.h>

#include <algorithm>
#include <new>
#include <optional>
#include <utility>

#include "importer/import_pool.h"
#include "importer/repair/damage.h"
#include "importer/repair/file_decisions.h"
#include "importer/repair/rebuilt_files.h"
#include "importer/repair/repaired_project.h"
#include "orvix/platform/path.h"
#include "orvix/project/covered_files.h"

namespace orvix::importer {
namespace {

using detail::FileSums;
using platform::ToUtf8;

/// The steps of a repair, and what each leaves when it fails.
class ProjectRepair {
public:
    ProjectRepair(RepairedProject project, const RepairOptions& options,
                  const ImportCallback& callback)
        : project_(std::move(project)),
          options_(options),
          meter_(callback),
          pool_(meter_, options.threads),
          made_(project_, pool_) {}
    ~ProjectRepair();
    ProjectRepair(const ProjectRepair&) = delete;
    ProjectRepair& operator=(const ProjectRepair&) = delete;

    Expected<RepairReport> Run();

private:
    Expected<void> Work();
    Expected<void> Judge();
    Expected<void> Replace();
    Expected<void> WriteManifest();
    [[nodiscard]] std::vector<CString> Clear();

    RepairedProject project_;
    const RepairOptions& options_;
    ProgressMeter meter_;
    ImportPool pool_;
    RebuiltFiles made_;
    RepairReport report_;
    bool cleared_ = false;
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

Expected<void> ProjectRepair::Judge() {
    report_.points = project_.Points();
    std::uint64_t bytes = 0;
    if (project_.Manifest()) {
        for (const FileSums& file : project_.Manifest()->files) bytes += file.bytes;
    }
    meter_.Begin(ImportPhase::Scan, bytes);
    if (auto judged = project_.Judge(RunnerOf(pool_)); !judged) return judged;
    auto damaged =
        DamagedStretches(project_.FileOf(detail::kPointsName), project_.FileOf("Index/Grid.idx"));
    if (!damaged) return ErrorOf(damaged);
    report_.damaged = std::move(*damaged);
    return {};
}

Expected<void> ProjectRepair::Replace() {
    std::error_code error;
    for (const RepairedFile& file : report_.files) {
        if (file.state != FileState::Rebuilt && file.state != FileState::Mended) continue;
        platform::Rename(detail::UnfinishedPathOf(file.path), file.path, error);
        if (error) return FailSystem(error, ToUtf8(file.path) + " could not be replaced");
        platform::SyncFolder(platform::ParentOf(platform::AbsolutePath(file.path)), error);
        if (error) {
            return FailSystem(error, ToUtf8(file.path) +
                                         " is made anew, but its device does not confirm it; "
                                         "repair the project once more");
        }
    }
    return {};
}

// What is lost keeps its former sum, so that the check goes on to name it.
Expected<void> ProjectRepair::WriteManifest() {
    const ProjectManager& paths = project_.Paths();
    std::vector<FileSums> known;
    bool same = project_.Manifest().has_value() && detail::TimesWritten(paths.gridPts) == 0;
    for (const RepairedFile& file : report_.files) {
        const JudgedFile& judged = project_.FileOf(file.name);
        const bool sound = file.state == FileState::Sound && judged.judgement == Judgement::Sound;
        if (judged.stored && (sound || file.state == FileState::Lost))
            known.push_back(*judged.stored);
        same = same && (sound || file.state == FileState::Lost);
    }
    if (same) return {};
    Expected<void> done = detail::SumProject(paths, known, RunnerOf(pool_));
    if (!done) return done;
    report_.summed = true;
    std::error_code error;
    const CString mark = detail::WrittenMarkPath(paths.gridPts);
    if (platform::PathExists(mark)) platform::RemoveFile(mark, error);
    if (error) return FailSystem(error, ToUtf8(mark) + " could not be removed");
    return {};
}

Expected<void> ProjectRepair::Work() {
    Expected<void> done = Judge();
    if (!done || (!report_.damaged.empty() && !options_.accept)) return done;
    if (project_.NeedsBuild()) done = made_.Build();
    if (!done) return done;
    auto files = DecideFiles(project_, made_, options_);
    if (!files) return ErrorOf(files);
    report_.files = std::move(*files);
    if (!options_.dryRun) done = Replace();
    if (done && !options_.dryRun) done = WriteManifest();
    report_.skeletonPoints = made_.SkeletonPoints();
    return done;
}

std::vector<CString> ProjectRepair::Clear() {
    std::vector<CString> left = project_.RemoveUnfinished();
    cleared_ = true;
    return left;
}

Expected<RepairReport> ProjectRepair::Run() {
    const Expected<void> done = Work();
    for (const CString& path : Clear()) {
        report_.warnings.push_back(
            fmt::format("{} could not be removed; the next repair of the project does it, or you "
                        "may",
                        ToUtf8(path)));
    }
    if (done) {
        meter_.Complete();
        return std::move(report_);
    }
    Error error = done.error();
    for (const std::string& warning : report_.warnings) error.message += "; " + warning;
    return tl::unexpected<Error>(std::move(error));
}

// Where memory has ended, the next repair removes what was made.
ProjectRepair::~ProjectRepair() {
    if (cleared_) return;
    try {
        static_cast<void>(Clear());
    } catch (const std::bad_alloc&) {
        return;
    }
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
    auto opened = RepairedProject::Open(project);
    if (!opened) return ErrorOf(opened);
    return ProjectRepair(std::move(*opened), options, callback).Run();
}

}  // namespace orvix::importer
