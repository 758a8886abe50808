// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/open_project.h"

#include <fmt/format.h>

#include <array>

#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/project/project_gate.h"
#include "orvix/project/project_paths.h"

namespace orvix::detail {

namespace {

// What ProjectManager asks a complete project for.
std::array<const CString*, 9> NeededFiles(const ProjectManager& manager) {
    return {&manager.viewGridDtv,        &manager.viewGridLv, &manager.viewEntriesDtv,
            &manager.projectFile,        &manager.headFile,   &manager.gridSkeletDataPts,
            &manager.gridSkeletCoordPts, &manager.gridIdx,    &manager.gridPts};
}

Expected<void> RequireReadable(const ProjectManager& manager) {
    for (const CString* path : NeededFiles(manager)) {
        std::error_code error;
        platform::File::OpenRead(*path, error);
        if (!error) continue;
        if (!platform::PathExists(*path) || platform::IsFolder(*path))
            return Fail(
                ErrorCode::Damaged,
                fmt::format("{} is missing; put it back, or import the scans again", Shown(*path)));
        return FailSystem(error, Shown(*path) + " cannot be opened; check its permissions");
    }
    return {};
}

}  // namespace

Expected<std::unique_ptr<OpenProject>> OpenProject::Open(const CString& project) {
    std::unique_ptr<OpenProject> opened(new OpenProject);
    ProjectManager& manager = opened->manager_;
    detail::BuildPaths(manager, project);
    if (auto readable = RequireReadable(manager); !readable) return ErrorOf(readable);
    manager.GetProjectSettings(&manager.projectSettings);
    manager.GetCloudHeader(&manager.cloudHeader);
    opened->core_.Open(manager.gridSkeletCoordPts, manager.gridSkeletDataPts, manager.gridPts,
                       manager.LASScale(manager.cloudHeader.scale), manager.grid1000cmIdx,
                       manager.grid10cmIdx, manager.grid1to10cmIdx, manager.gridIdx);
    if (opened->core_.OpenCores()) return opened;
    return Fail(ErrorCode::Failure, Shown(project) + ": its point files could not be opened");
}

Expected<void> OpenProject::RequireWritable() const {
    for (const CString* path : NeededFiles(manager_)) {
        std::error_code error;
        platform::File::OpenReadWrite(*path, error);
        if (error)
            return FailSystem(error, Shown(*path) + " may not be written; check its permissions");
    }
    return {};
}

OpenProject::~OpenProject() {
    core_.Close();
}

}  // namespace orvix::detail
