// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/access/open_project.h"

#include <cstring>
#include <string>
#include <system_error>

#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/platform/text.h"
#include "orvix/project/access/settings_update.h"
#include "orvix/project/project_paths.h"
#include "orvix/project/required_files.h"

namespace orvix::detail {
namespace {

// What GetCloudHeader could not read, it leaves as it was; a second look tells that from a head that
// holds such values.
Expected<void> RequireHeadAsRead(const ProjectManager& manager) {
    std::error_code error;
    const platform::File file = platform::File::OpenRead(manager.headFile, error);
    CLOUD_HEADER head;
    const std::size_t read = error ? 0 : file.ReadAt(0, &head, kHeadFileBytes, error);
    const std::string name = platform::ToUtf8(manager.headFile);
    if (error) return FailSystem(error, name + " cannot be read");
    if (std::memcmp(&head, &manager.cloudHeader, read) == 0) return {};
    return Fail(ErrorCode::Failure, name + " could not be read, or changed meanwhile; try again");
}

}  // namespace

Expected<std::unique_ptr<OpenProject>> OpenProject::Open(const CString& project) {
    auto opened = Load(project);
    if (auto readable = RequireReadable(opened->manager_); !readable) return ErrorOf(readable);
    // Settings that were not read must not pass for settings that nobody made.
    PROJECT_SETTINGS ignored{};
    if (auto read = ReadSettings(project, ignored); !read) return ErrorOf(read);
    if (auto head = RequireHeadAsRead(opened->manager_); !head) return ErrorOf(head);
    if (opened->core_.OpenCores()) {
        if (auto same = opened->stamp_.RequireSame(); !same) return ErrorOf(same);
        if (auto mapped = opened->RequireSkeleton(); !mapped) return ErrorOf(mapped);
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

// A project without a skeleton can be worked with; one whose skeleton does not open is another matter.
Expected<void> OpenProject::RequireSkeleton() {
    std::uint64_t bytes = 0;
    const CString& path = manager_.gridSkeletCoordPts;
    const bool has = platform::QueryFileSize(path, bytes) && bytes >= sizeof(SimplePointT<float>);
    if (!has || core_.SkeletPointCount() != 0) return {};
    return Fail(ErrorCode::Failure, platform::ToUtf8(path) + " could not be mapped");
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
