// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/required_files.h"

#include <fmt/format.h>

#include <system_error>

#include "orvix/platform/file.h"
#include "orvix/platform/path.h"

namespace orvix::detail {

std::array<const CString*, 9> RequiredFilesOf(const ProjectManager& paths) {
    return {&paths.viewGridDtv,        &paths.viewGridLv, &paths.viewEntriesDtv,
            &paths.projectFile,        &paths.headFile,   &paths.gridSkeletDataPts,
            &paths.gridSkeletCoordPts, &paths.gridIdx,    &paths.gridPts};
}

Expected<void> RequireReadable(const ProjectManager& paths) {
    for (const CString* path : RequiredFilesOf(paths)) {
        std::error_code error;
        platform::File::OpenRead(*path, error);
        if (!error) continue;
        if (!platform::PathExists(*path) || platform::IsFolder(*path))
            return Fail(ErrorCode::Damaged,
                        fmt::format("{} is missing; put it back, or import the scans again",
                                    platform::ToUtf8(*path)));
        return FailSystem(error,
                          platform::ToUtf8(*path) + " cannot be opened; check its permissions");
    }
    return {};
}

Expected<void> RequireWritable(const ProjectManager& paths) {
    for (const CString* path : RequiredFilesOf(paths)) {
        std::error_code error;
        platform::File::OpenReadWrite(*path, error);
        if (error)
            return FailSystem(
                error, platform::ToUtf8(*path) + " may not be written; check its permissions");
    }
    return {};
}

}  // namespace orvix::detail
