// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/destroy_project.h"

#include <fmt/format.h>

#include <new>
#include <system_error>

#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/project/covered_files.h"
#include "orvix/project/project_paths.h"
#include "orvix/project/station_files.h"

namespace orvix::detail {
namespace {

using platform::ToUtf8;

CString MarkOf(const CString& folder) {
    return platform::JoinPath(folder, L"destroying");
}

CString FolderOf(const CString& project) {
    return platform::RemoveExtension(project) + L"_Project_Files";
}

bool IsThere(const CString& path) {
    return platform::PathExists(path) || platform::IsLink(path);
}

// Whether a path lies in a folder that is no link, at any depth, and no link leads there.
bool LiesIn(const CString& folder, const CString& path) {
    const CString parent = platform::ParentOf(path);
    if (parent.size() < folder.size() || platform::IsLink(parent)) return false;
    return parent == folder || LiesIn(folder, parent);
}

tl::unexpected<Error> CannotRemove(const CString& project, const CString& path,
                                   std::error_code cause) {
    return FailSystem(cause, fmt::format("{} is destroyed in part, and 'orvix destroy' will go on "
                                         "with what is left in {}: cannot remove {}",
                                         ToUtf8(project), ToUtf8(FolderOf(project)), ToUtf8(path)));
}

Expected<void> RemoveFile(const CString& project, const CString& path) {
    std::error_code error;
    // What has a file's name and is a folder is not the project's.
    if (!IsThere(path) || (platform::IsFolder(path) && !platform::IsLink(path))) return {};
    platform::RemoveFile(path, error);
    if (!error || !IsThere(path)) return {};
    return CannotRemove(project, path, error);
}

// A folder that holds something stays.
Expected<void> RemoveFolder(const CString& project, const CString& path) {
    if (!platform::IsFolder(path) || platform::IsLink(path)) return {};
    std::error_code removal;
    std::error_code listing;
    platform::RemoveFolder(path, removal);
    if (!removal || !platform::ListFolder(path, listing).empty()) return {};
    return CannotRemove(project, path, removal);
}

Expected<void> SetMark(const CString& folder) {
    const CString mark = MarkOf(folder);
    std::error_code error;
    platform::File file = platform::File::CreateNew(mark, error);
    if (error == std::errc::file_exists) return {};
    if (!error) file.Sync(error);
    if (!error) file.Close(error);
    if (!error) platform::SyncFolder(folder, error);
    if (!error) return {};
    std::error_code ignored;
    platform::RemoveFile(mark, ignored);
    return FailSystem(error, fmt::format("cannot write {}; nothing was removed", ToUtf8(mark)));
}

Expected<void> RemoveContent(const ProjectManager& paths) {
    for (const CString& file : OwnedFilesOf(paths)) {
        if (file == paths.projectFile || !LiesIn(paths.projectFilesFolder, file)) continue;
        if (auto gone = RemoveFile(paths.projectFile, file); !gone) return gone;
    }
    for (const CString* folder :
         {&paths.panoFolder, &paths.scanposFolder, &paths.indexFolder, &paths.colorPlaneFolder,
          &paths.slicesFolder, &paths.dataViewFolder, &paths.logicViewFolder, &paths.imagesFolder,
          &paths.mlFolder}) {
        if (!LiesIn(paths.projectFilesFolder, *folder)) continue;
        if (auto gone = RemoveFolder(paths.projectFile, *folder); !gone) return gone;
    }
    return {};
}

Expected<void> DestroyStepwise(const CString& project) {
    ProjectManager paths;
    BuildPaths(paths, project);
    const CString& folder = paths.projectFilesFolder;
    Expected<void> done = SetMark(folder);
    if (done) done = RemoveContent(paths);
    if (done) done = RemoveFile(project, project);
    if (done) done = RemoveFile(project, MarkOf(folder));
    if (done) done = RemoveFolder(project, folder);
    if (!done) return done;
    std::error_code error;
    const CString parent = platform::ParentOf(platform::AbsolutePath(project));
    platform::SyncFolder(parent.empty() ? CString(1, platform::PathSeparator()) : parent, error);
    if (error) {
        return FailSystem(error, fmt::format("{} is destroyed, but its device does not confirm it",
                                             ToUtf8(project)));
    }
    return {};
}

}  // namespace

std::vector<CString> OwnedFilesOf(const ProjectManager& paths) {
    const CString manifest = ManifestPath(paths);
    std::vector<CString> files = UnfinishedFiles(paths);
    for (const CString& file : {StationNotePath(paths),
                                platform::JoinPath(paths.indexFolder, L"originaltransforms"),
                                SavedPlanesPath(paths),
                                UnfinishedPlanesPath(paths),
                                PlanesLockPath(paths),
                                SavedModelPath(paths),
                                UnfinishedModelPath(paths),
                                ModelLockPath(paths),
                                manifest,
                                UnfinishedManifestPath(manifest),
                                ManifestLockPath(manifest),
                                WrittenMarkPath(paths.gridPts),
                                paths.headFile,
                                paths.transformFile,
                                paths.gridSkeletLas,
                                paths.gridSkelet4RcpLas,
                                paths.gridSkeletPcg,
                                paths.gridSkeletCoordPts,
                                paths.gridSkeletDataPts,
                                paths.gridSkeletDataClassCount,
                                paths.indexHash,
                                paths.viewGridDtv,
                                paths.viewEntriesDtv,
                                paths.intensitiesSliceHist,
                                paths.intensitiesCls,
                                paths.intensitiesHist,
                                paths.zSliceHist,
                                paths.zCls,
                                paths.zHist,
                                paths.gridUnsortedIdx,
                                paths.gridIdx,
                                paths.gridPts,
                                paths.gridUnsortedPts,
                                paths.grid10cmIdx,
                                paths.grid1to10cmIdx,
                                paths.grid1000cmIdx,
                                paths.projectFile,
                                paths.cadFolder,
                                paths.sketchUpFolder,
                                paths.histFolder,
                                paths.viewGridLv,
                                paths.mergedLv})
        files.push_back(file);
    return files;
}

Expected<void> DestroyProject(const CString& project) {
    try {
        return DestroyStepwise(project);
    } catch (const std::bad_alloc&) {
        return Fail(
            ErrorCode::NoMemory,
            fmt::format("memory ran out while {} was being destroyed; 'orvix destroy' goes on "
                        "with what is left in {}",
                        ToUtf8(project), ToUtf8(FolderOf(project))));
    }
}

bool IsHalfDestroyed(const CString& project) {
    return platform::PathExists(MarkOf(FolderOf(project)));
}

}  // namespace orvix::detail
