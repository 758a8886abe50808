// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/access/project_gate.h"

#include <fmt/format.h>

#include "orvix/platform/path.h"
#include "orvix/platform/text.h"
#include "orvix/project/access/import_marks.h"
#include "orvix/project/destroy_project.h"
#include "orvix/project/project_manager.h"
#include "orvix/project/project_paths.h"
#include "orvix/project/project_settings_file.h"

namespace orvix::detail {

namespace {

// BEHAVIOUR C1
Expected<void> RequireFile(const CString& path) {
    if (path.empty()) return Fail(ErrorCode::BadInput, "the project's name is empty");
    if (!platform::PathExists(path))
        return Fail(ErrorCode::BadInput,
                    fmt::format("{} does not exist; check the name, or make it with 'orvix import'",
                                platform::ToUtf8(path)));
    if (platform::IsFolder(path))
        return Fail(ErrorCode::BadInput,
                    fmt::format("{} is a folder; name the project file, which ends in .prj and "
                                "lies beside the project-files folder",
                                platform::ToUtf8(path)));
    return {};
}

Expected<void> RequireParts(const CString& path, SettingsRecord record, CutRecord cut) {
    ProjectManager paths;
    BuildPaths(paths, path);
    const bool hasFolder = platform::IsFolder(paths.projectFilesFolder);
    // BEHAVIOUR C2
    if (record == SettingsRecord::Foreign || (record == SettingsRecord::Cut && !hasFolder))
        return Fail(ErrorCode::BadInput,
                    fmt::format("{} is not a project: it holds no settings record of version 1 to "
                                "{}; name the .prj file that 'orvix import' made",
                                platform::ToUtf8(path), kSettingsVersion));
    if (!hasFolder)
        return Fail(
            ErrorCode::Damaged,
            fmt::format("{} has lost its project-files folder {}; put the folder back "
                        "beside it, or import the scans again",
                        platform::ToUtf8(path), platform::ToUtf8(paths.projectFilesFolder)));
    if (record == SettingsRecord::Whole || cut == CutRecord::Taken) return {};  // BEHAVIOUR C3
    return Fail(ErrorCode::Damaged,
                fmt::format("{} is cut short: its settings record is not whole; 'orvix check' "
                            "lists every fault, and 'orvix repair' mends them",
                            platform::ToUtf8(path)));
}

}  // namespace

Expected<CString> RequireProject(const std::string& argument, CutRecord cut) {
    const CString path = platform::FromUtf8(argument);
    if (auto there = RequireFile(path); !there) return ErrorOf(there);
    const auto record = ExamineSettingsFile(path);
    if (!record) return ErrorOf(record);
    if (auto whole = RequireParts(path, *record, cut); !whole) return ErrorOf(whole);
    if (IsHalfDestroyed(path)) {
        return Fail(ErrorCode::Damaged,
                    fmt::format("{} was being destroyed when the work was ended; 'orvix destroy' "
                                "goes on with it, 'orvix import --overwrite' replaces it",
                                platform::ToUtf8(path)));
    }
    if (cut == CutRecord::Taken) return path;
    if (auto settled = RequireNotHalfReplaced(path); !settled) return ErrorOf(settled);
    return path;
}

}  // namespace orvix::detail
