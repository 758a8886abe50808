// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/repair/repaired_project.h"

#include <fmt/format.h>

#include <algorithm>
#include <system_error>
#include <utility>

#include "orvix/platform/file.h"
#include "orvix/points/records.h"
#include "orvix/project/access/import_marks.h"
#include "orvix/project/project_paths.h"
#include "orvix/project/project_settings_file.h"

namespace orvix::importer {
namespace {

using detail::FileSums;
using detail::ProjectFile;
using platform::ToUtf8;

// Other programs keep files of the ending .prj too, and a folder may serve any file of its name.
Expected<void> RequireOwnRecord(const ProjectManager& paths) {
    const bool named = platform::FoldCase(paths.projectFile).ends_with(platform::FoldCase(L".prj"));
    if (!platform::PathExists(paths.projectFile)) {
        if (named) return {};
        return Fail(ErrorCode::BadInput, ToUtf8(paths.projectFile) +
                                             " does not exist; name the project file, which ends "
                                             "in .prj");
    }
    const auto record = detail::ExamineSettingsFile(paths.projectFile);
    if (!record) return ErrorOf(record);
    std::uint64_t bytes = 0;
    platform::QueryFileSize(paths.projectFile, bytes);
    const bool ours =
        *record != detail::SettingsRecord::Foreign || (named && bytes <= kProjectFileBytes);
    if (ours) return {};
    return Fail(ErrorCode::BadInput, ToUtf8(paths.projectFile) +
                                         " is no settings record of a project, and stays; name "
                                         "the .prj file that 'orvix import' made");
}

Expected<platform::PathLock> LockRepairs(const ProjectManager& paths) {
    std::error_code error;
    auto lock = platform::PathLock::TryAcquire(
        detail::ManifestLockPath(detail::ManifestPath(paths)), error);
    if (error) return FailSystem(error, ToUtf8(paths.projectFilesFolder) + " cannot be written to");
    if (lock) return lock;
    return Fail(ErrorCode::Failure, ToUtf8(paths.projectFile) +
                                        " is being repaired or saved by another program; wait "
                                        "until it has ended");
}

bool IsThere(const CString& path) {
    return platform::PathExists(path) || platform::IsLink(path);
}

}  // namespace

Expected<RepairedProject> RepairedProject::Open(const CString& path) {
    if (platform::IsFolder(path) || path.empty()) {
        return Fail(ErrorCode::BadInput, ToUtf8(path) + " is no project file");
    }
    RepairedProject project;
    ProjectManager& paths = project.paths_;
    detail::BuildPaths(paths, path);
    std::uint64_t bytes = 0;
    if (!platform::QueryFileSize(paths.gridPts, bytes) || platform::IsFolder(paths.gridPts)) {
        return Fail(ErrorCode::BadInput,
                    fmt::format("{} has no points: there is no {}; name a project file, or import "
                                "the scans again",
                                ToUtf8(path), ToUtf8(paths.gridPts)));
    }
    if (auto own = RequireOwnRecord(paths); !own) return ErrorOf(own);
    if (auto settled = detail::RequireNotHalfReplaced(path); !settled) return ErrorOf(settled);
    auto lock = LockRepairs(paths);
    if (!lock) return ErrorOf(lock);
    project.lock_ = std::move(*lock);
    project.unfinished_ = paths;
    for (const ProjectFile& file : detail::ProjectFiles()) {
        if (file.derived)
            project.unfinished_.*file.path = detail::UnfinishedPathOf(paths.*file.path);
    }
    project.points_ = bytes / kAlivePointBytes;
    auto manifest = detail::ReadManifest(detail::ManifestPath(paths));
    if (manifest) {
        project.manifest_ = std::move(*manifest);
    } else if (manifest.error().code != ErrorCode::Damaged) {
        return ErrorOf(manifest);
    }
    return project;
}

Expected<void> RepairedProject::Judge(const detail::BlockRunner& run) {
    auto files = JudgeFiles(paths_, manifest_, run);
    if (!files) return ErrorOf(files);
    files_ = std::move(*files);
    for (const ProjectFile& derived : detail::ProjectFiles()) {
        const auto same = [&](const JudgedFile& file) { return file.name == derived.name; };
        if (!derived.derived || std::any_of(files_.begin(), files_.end(), same)) continue;
        files_.push_back({derived.name, paths_.*derived.path, Judgement::Missing, {}, {}});
    }
    return {};
}

const JudgedFile& RepairedProject::FileOf(const std::string& name) const {
    return *std::find_if(files_.begin(), files_.end(),
                         [&](const JudgedFile& file) { return file.name == name; });
}

bool RepairedProject::HasDamagedPoints() const {
    return FileOf(detail::kPointsName).judgement == Judgement::Damaged;
}

// Where all that the points determine is as it was written, they need not be read.
bool RepairedProject::NeedsBuild() const {
    const bool coarse = manifest_ && std::none_of(manifest_->files.begin(), manifest_->files.end(),
                                                  [](const FileSums& file) {
                                                      return file.name == "Index/Grid10cm.idx";
                                                  });
    const auto files = detail::ProjectFiles();
    return HasDamagedPoints() ||
           std::any_of(files.begin(), files.end(), [&](const ProjectFile& file) {
               return file.derived && FileOf(file.name).judgement != Judgement::Sound &&
                      !(file.fine && coarse);
           });
}

// A folder that cannot be listed hides what others left of stations, not what this repair made.
std::vector<CString> RepairedProject::RemoveUnfinished() const {
    std::vector<CString> paths = detail::UnfinishedFiles(paths_);
    for (const JudgedFile& file : files_) paths.push_back(detail::UnfinishedPathOf(file.path));
    paths.push_back(detail::UnfinishedManifestPath(detail::ManifestPath(paths_)));
    std::sort(paths.begin(), paths.end());
    paths.erase(std::unique(paths.begin(), paths.end()), paths.end());
    std::vector<CString> left;
    for (const CString& path : paths) {
        std::error_code ignored;
        platform::RemoveFile(path, ignored);
        if (IsThere(path)) left.push_back(path);
    }
    return left;
}

}  // namespace orvix::importer
