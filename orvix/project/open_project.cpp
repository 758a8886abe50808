// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/open_project.h"

#include "orvix/project/project_gate.h"
#include "orvix/project/project_paths.h"
#include "orvix/project/required_files.h"

namespace orvix::detail {

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
    return detail::RequireWritable(manager_);
}

OpenProject::~OpenProject() {
    core_.Close();
}

}  // namespace orvix::detail
