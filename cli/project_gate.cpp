// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/project_gate.h"

#include <fmt/format.h>
#include <array>
#include <cstring>

#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/project/project_manager.h"
#include "orvix/project/project_paths.h"

namespace orvix::cli {

namespace {

// Bytes of a settings record of each version; later versions only append.
constexpr std::array<std::uint64_t, kSettingsVersion + 1> kRecordBytes{
    0, 204, 204, 204, 204, 210, 218, 250, 254, 262, 270, 302, 310, 322};

Expected<void> RequireSettingsRecord(const CString& path) {
    std::error_code error;
    const platform::File file = platform::File::OpenRead(path, error);
    if (error) return FailSystem(error, Shown(path) + " cannot be opened");
    std::int32_t version = 0;
    const std::size_t got = file.ReadAt(0, &version, sizeof version, error);
    if (error) return FailSystem(error, Shown(path) + " cannot be read");
    const bool known = got == sizeof version && version >= 1 && version <= kSettingsVersion;
    if (known && file.Size() >= kRecordBytes[static_cast<std::size_t>(version)]) return {};
    return Fail(
        ErrorCode::BadInput,
        fmt::format("{} is not a project: its {} bytes hold no settings record of version 1 "
                    "to {}; name the .prj file that 'orvix import' made",
                    Shown(path), file.Size(), kSettingsVersion));
}

}  // namespace

std::string Shown(const CString& path) {
    return platform::ToUtf8(path);
}

Expected<CString> RequireProject(const std::string& argument) {
    const CString path = platform::FromUtf8(argument);
    if (!platform::PathExists(path))
        return Fail(ErrorCode::BadInput,
                    fmt::format("{} does not exist; check the name, or make it with 'orvix import'",
                                argument));
    if (platform::IsFolder(path))
        return Fail(ErrorCode::BadInput,
                    fmt::format("{} is a folder; name the project file, which ends in .prj and "
                                "lies beside the project-files folder",
                                argument));
    if (auto record = RequireSettingsRecord(path); !record)
        return tl::unexpected<Error>(record.error());
    ProjectManager paths;
    detail::BuildPaths(paths, path);
    if (!platform::IsFolder(paths.projectFilesFolder))
        return Fail(ErrorCode::Damaged,
                    fmt::format("{} has lost its project-files folder {}; put the folder back "
                                "beside it, or import the scans again",
                                argument, Shown(paths.projectFilesFolder)));
    return path;
}

}  // namespace orvix::cli
