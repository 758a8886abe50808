// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/open_project.h"

#include <fmt/format.h>

#include "cli/project_gate.h"
#include "orvix/platform/file.h"
#include "orvix/platform/path.h"

namespace orvix::cli {

namespace {

// ProjectManager tells that a file is missing or read-only; a user wants to know which one.
tl::unexpected<Error> WhyNotOpened(const ProjectManager& manager) {
    const CString* const needed[] = {
        &manager.viewGridDtv,        &manager.viewGridLv, &manager.viewEntriesDtv,
        &manager.projectFile,        &manager.headFile,   &manager.gridSkeletDataPts,
        &manager.gridSkeletCoordPts, &manager.gridIdx,    &manager.gridPts};
    for (const CString* path : needed)
        if (!platform::PathExists(*path))
            return Fail(
                ErrorCode::Damaged,
                fmt::format("{} is missing; put it back, or import the scans again", Shown(*path)));
    for (const CString* path : needed) {
        std::error_code error;
        platform::File::OpenReadWrite(*path, error);
        if (error)
            return FailSystem(error, Shown(*path) +
                                         " cannot be opened for reading and writing, as a project "
                                         "must be; check its permissions");
    }
    return Fail(ErrorCode::Failure,
                fmt::format("{} could not be opened: {}", Shown(manager.projectFile),
                            platform::ToUtf8(manager.errorText)));
}

}  // namespace

Expected<std::unique_ptr<OpenProject>> OpenProject::Open(const CString& project) {
    std::unique_ptr<OpenProject> opened(new OpenProject);
    ProjectManager& manager = opened->manager_;
    if (!manager.Open(project)) return WhyNotOpened(manager);
    opened->core_.Open(manager.gridSkeletCoordPts, manager.gridSkeletDataPts, manager.gridPts,
                       manager.LASScale(manager.cloudHeader.scale), manager.grid1000cmIdx,
                       manager.grid10cmIdx, manager.grid1to10cmIdx, manager.gridIdx);
    if (opened->core_.OpenCores()) return opened;
    return Fail(ErrorCode::Failure, Shown(project) + ": its point files could not be opened");
}

OpenProject::~OpenProject() {
    core_.Close();
    manager_.aliveReader.reset();
    manager_.Close();
}

}  // namespace orvix::cli
