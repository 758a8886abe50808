// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/write/project_target.h"

#include <fmt/format.h>

#include <system_error>

#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/project/project_settings_file.h"

namespace orvix::importer {
namespace {

using platform::ToUtf8;

// Other programs keep files of that ending too, the coordinate system of a map beside its data. A
// record that is cut short is a damaged project, which an import may replace.
Expected<void> RefuseForeign(const CString& project) {
    const auto record = orvix::detail::ExamineSettingsFile(project);
    if (!record) return ErrorOf(record);
    if (*record != orvix::detail::SettingsRecord::Foreign) return {};
    return Fail(ErrorCode::BadInput,
                fmt::format("{} is no project but a file of another program, and stays; give the "
                            "project another name",
                            ToUtf8(project)));
}

// The name without its ending names the project's folder, so there must be some of it.
Expected<void> RequireName(const CString& project) {
    if (!platform::FileNameOf(platform::RemoveExtension(project)).empty()) return {};
    return Fail(ErrorCode::BadInput,
                fmt::format("{} has no name before its ending; name the project file, such as {}",
                            ToUtf8(project),
                            ToUtf8(platform::JoinPath(platform::ParentOf(project), L"scan.prj"))));
}

Expected<void> RequireFolder(const CString& folder) {
    if (folder.empty() || platform::IsFolder(folder)) return {};
    std::error_code error;
    platform::File::OpenRead(folder, error);
    const bool refused = error && error != std::errc::no_such_file_or_directory &&
                         error != std::errc::not_a_directory;
    if (refused) return FailSystem(error, fmt::format("cannot reach {}", ToUtf8(folder)));
    return Fail(
        ErrorCode::BadInput,
        fmt::format("there is no folder {} for the project; create it first", ToUtf8(folder)));
}

// Publishing renames: it would put a file and a folder where the links are and leave what they
// point to behind.
// BEHAVIOUR I16
Expected<void> RefuseLinks(const CString& project, const CString& files) {
    for (const CString* path : {&project, &files}) {
        if (!platform::IsLink(*path)) continue;
        return Fail(ErrorCode::BadInput,
                    fmt::format("{} is a link; name the project in the folder that it really lies "
                                "in, or remove the link",
                                ToUtf8(*path)));
    }
    return {};
}

bool HasProjectEnding(const CString& name) {
    return platform::FoldCase(name).ends_with(platform::FoldCase(L".prj"));
}

// Endings that differ in case alone are two project files with one folder.
Expected<void> RefuseSharedFolder(const CString& project, const CString& files) {
    const CString parent = platform::ParentOf(project);
    const CString own = platform::FileNameOf(project);
    std::error_code ignored;
    for (const CString& name : platform::ListFolder(parent, ignored)) {
        const CString path = platform::JoinPath(parent, name);
        const bool other = name != own && HasProjectEnding(name) &&
                           platform::RemoveExtension(name) == platform::RemoveExtension(own) &&
                           !platform::IsSameFile(path, project);
        if (!other) continue;
        return Fail(ErrorCode::BadInput,
                    fmt::format("{} belongs to the project {}; give the new one another name",
                                ToUtf8(files), ToUtf8(path)));
    }
    return {};
}

}  // namespace

TargetNames::TargetNames(const CString& target)
    : project(platform::AbsolutePath(target)),
      files(platform::RemoveExtension(project) + L"_Project_Files"),
      marks(project) {}

bool IsTaken(const CString& path) {
    return platform::PathExists(path) || platform::IsLink(path);
}

// Folders alone are what a destroyed project leaves.
// BEHAVIOUR I17
bool HoldsFiles(const CString& folder, std::error_code& error) {
    for (const CString& name : platform::ListFolder(folder, error)) {
        const CString path = platform::JoinPath(folder, name);
        if (!platform::IsFolder(path) || HoldsFiles(path, error)) return true;
        if (error) return false;
    }
    return false;
}

Expected<void> CheckPlace(const TargetNames& names) {
    Expected<void> done = RequireName(names.project);
    return done ? RequireFolder(platform::ParentOf(names.project)) : done;
}

Expected<void> RefuseOtherFiles(const TargetNames& names) {
    const orvix::detail::ImportMarks& marks = names.marks;
    for (const CString* path :
         {&marks.workingProject, &marks.workingFiles, &marks.aside, &marks.tasks, &marks.note}) {
        if (!IsTaken(*path)) continue;
        return Fail(ErrorCode::BadInput,
                    fmt::format("{} is in the way of the import and stems from none; move it, or "
                                "give the project another name",
                                ToUtf8(*path)));
    }
    return {};
}

Expected<void> CheckTarget(const TargetNames& names, ExistingProject existing) {
    if (auto free = RefuseLinks(names.project, names.files); !free) return free;
    if (platform::IsFolder(names.project)) {
        return Fail(
            ErrorCode::BadInput,
            fmt::format("{} is a folder; name the project file, such as {}", ToUtf8(names.project),
                        ToUtf8(platform::JoinPath(names.project, L"scan.prj"))));
    }
    const bool hasFolder = platform::IsFolder(names.files);
    if (platform::PathExists(names.files) && !hasFolder) {
        return Fail(ErrorCode::BadInput,
                    fmt::format("{} is a file where the project's folder belongs; move it",
                                ToUtf8(names.files)));
    }
    if (hasFolder) {
        if (auto own = RefuseSharedFolder(names.project, names.files); !own) return own;
    }
    const bool exists = platform::PathExists(names.project);
    if (existing == ExistingProject::Replace)
        return exists ? RefuseForeign(names.project) : Expected<void>();
    std::error_code unknown;
    const bool holdsFiles = hasFolder && (HoldsFiles(names.files, unknown) || unknown);
    if (!exists && !holdsFiles) return {};
    return Fail(ErrorCode::BadInput,
                fmt::format("{} exists; use --overwrite to replace it, or give another name",
                            ToUtf8(exists ? names.project : names.files)));
}

}  // namespace orvix::importer
