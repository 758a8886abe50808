// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/open_project.h"

#include "orvix/platform/text.h"
#include "orvix/project/project_paths.h"
#include "orvix/project/required_files.h"
#include "orvix/project/settings_update.h"

namespace orvix::detail {

Expected<std::unique_ptr<OpenProject>> OpenProject::Open(const CString& project) {
    auto opened = Load(project);
    if (auto readable = RequireReadable(opened->manager_); !readable) return ErrorOf(readable);
    // Settings that were not read must not pass for settings that nobody made.
    PROJECT_SETTINGS ignored{};
    if (auto read = ReadSettings(project, ignored); !read) return ErrorOf(read);
    if (opened->core_.OpenCores()) {
        if (auto same = opened->stamp_.RequireSame(); !same) return ErrorOf(same);
        return opened;
    }
    return Fail(ErrorCode::Failure,
                platform::ToUtf8(project) + ": its point files could not be opened");
}

std::unique_ptr<OpenProject> OpenProject::Load(const CString& project) {
    std::unique_ptr<OpenProject> loaded(new OpenProject(project));
    ProjectManager& manager = loaded->manager_;
    BuildPaths(manager, project);
    manager.GetProjectSettings(&manager.projectSettings);
    manager.GetCloudHeader(&manager.cloudHeader);
    loaded->core_.Open(manager.gridSkeletCoordPts, manager.gridSkeletDataPts, manager.gridPts,
                       manager.LASScale(manager.cloudHeader.scale), manager.grid1000cmIdx,
                       manager.grid10cmIdx, manager.grid1to10cmIdx, manager.gridIdx);
    return loaded;
}

Expected<void> OpenProject::RequireWritable() const {
    return detail::RequireWritable(manager_);
}

Expected<void> OpenProject::MapForWriting() {
    if (core_.OpenCores4Write()) return {};
    return Fail(ErrorCode::Failure, platform::ToUtf8(manager_.projectFile) +
                                        ": its point files could not be mapped for writing");
}

OpenProject::~OpenProject() {
    core_.Close();
}

}  // namespace orvix::detail
