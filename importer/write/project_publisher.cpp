// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/write/project_publisher.h"

#include <fmt/format.h>

#include <system_error>
#include <utility>

#include "orvix/platform/file.h"
#include "orvix/project/project_settings_file.h"

namespace orvix::importer {
namespace {

using platform::ToUtf8;

// Lies in the working folder until the project is published.
constexpr const wchar_t* kMarker = L"importing";

void RemoveQuietly(const CString& path) {
    std::error_code ignored;
    if (platform::IsFolder(path)) {
        platform::RemoveTree(path, ignored);
    } else {
        platform::RemoveFile(path, ignored);
    }
}

Expected<void> RenameEntry(const CString& from, const CString& to) {
    std::error_code error;
    platform::Rename(from, to, error);
    if (error)
        return FailSystem(error, fmt::format("cannot rename {} to {}", ToUtf8(from), ToUtf8(to)));
    return {};
}

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

// Whether a folder holds files at any depth; folders alone are what a destroyed project leaves.
// BEHAVIOUR I17
bool HoldsFiles(const CString& folder) {
    std::error_code error;
    for (const CString& name : platform::ListFolder(folder, error)) {
        const CString path = platform::JoinPath(folder, name);
        if (!platform::IsFolder(path) || HoldsFiles(path)) return true;
    }
    return static_cast<bool>(error);
}

Expected<void> SyncFile(const CString& path) {
    std::error_code error;
    platform::File file = platform::File::OpenReadWrite(path, error);
    if (!error) file.Sync(error);
    if (!error) file.Close(error);
    if (error) return FailSystem(error, fmt::format("cannot write {}", ToUtf8(path)));
    return {};
}

Expected<void> SyncTree(const CString& folder) {
    std::error_code error;
    for (const CString& name : platform::ListFolder(folder, error)) {
        const CString path = platform::JoinPath(folder, name);
        if (!platform::IsFolder(path)) continue;
        if (auto synced = SyncTree(path); !synced) return synced;
    }
    if (!error) platform::SyncFolder(folder, error);
    if (error) return FailSystem(error, fmt::format("cannot write {}", ToUtf8(folder)));
    return {};
}

}  // namespace

ProjectPublisher::Names ProjectPublisher::NamesFor(const CString& target) {
    Names names;
    names.project = platform::AbsolutePath(target);
    const CString base = platform::RemoveExtension(names.project);
    const CString working = base + L".importing";
    names.files = base + L"_Project_Files";
    names.workingProject = working + L".prj";
    names.workingFiles = working + L"_Project_Files";
    names.aside = working + L"_Replaced_Files";
    names.lock = working + L".lock";
    return names;
}

Expected<ProjectPublisher> ProjectPublisher::Begin(const CString& target, Existing existing) {
    if (target.empty()) return Fail(ErrorCode::BadInput, "the project has no name; give a path");
    Names names = NamesFor(target);
    const CString parent = platform::ParentOf(names.project);
    if (auto named = RequireName(names.project); !named) return ErrorOf(named);
    if (auto there = RequireFolder(parent); !there) return ErrorOf(there);
    const bool leftovers = platform::PathExists(names.lock);
    std::error_code error;
    platform::PathLock lock = platform::PathLock::TryAcquire(names.lock, error);
    if (error) return FailSystem(error, fmt::format("cannot write to {}", ToUtf8(parent)));
    if (!lock) {
        return Fail(ErrorCode::Failure,
                    fmt::format("another import of {} is under way; wait for it to end",
                                ToUtf8(names.project)));
    }
    Expected<void> done = leftovers ? Recover(names) : RefuseOtherFiles(names);
    if (done) done = CheckTarget(names, existing);
    if (!done) return ErrorOf(done);
    ProjectPublisher publisher(std::move(names), std::move(lock));
    done = publisher.LayOut();
    if (!done) return ErrorOf(done);
    return publisher;
}

// Precondition: the lock file of an import that was killed was found, and is locked by us now.
// A target's folder that still holds the marker was being published: with the working project
// file gone it is complete, else the folder that it replaced comes back.
Expected<void> ProjectPublisher::Recover(const Names& names) {
    const CString marker = platform::JoinPath(names.files, kMarker);
    const CString& former = platform::PathExists(names.aside) ? names.aside : names.workingFiles;
    if (platform::PathExists(marker)) {
        if (platform::PathExists(names.workingProject)) {
            RemoveQuietly(names.files);
        } else {
            RemoveQuietly(marker);
        }
    }
    const bool cameFromTarget =
        platform::PathExists(former) &&
        !platform::PathExists(platform::JoinPath(names.workingFiles, kMarker));
    if (!platform::PathExists(names.files) && (former == names.aside || cameFromTarget)) {
        if (auto back = RenameEntry(former, names.files); !back) return back;
    }
    for (const CString* path : {&names.workingProject, &names.workingFiles, &names.aside}) {
        if (platform::PathExists(*path)) RemoveQuietly(*path);
    }
    return {};
}

Expected<void> ProjectPublisher::RefuseOtherFiles(const Names& names) {
    for (const CString* path : {&names.workingProject, &names.workingFiles, &names.aside}) {
        if (!platform::PathExists(*path)) continue;
        return Fail(ErrorCode::BadInput,
                    fmt::format("{} is in the way of the import and stems from none; move it, or "
                                "give the project another name",
                                ToUtf8(*path)));
    }
    return {};
}

Expected<void> ProjectPublisher::CheckTarget(const Names& names, Existing existing) {
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
    if (existing == Existing::Replace)
        return exists ? RefuseForeign(names.project) : Expected<void>();
    if (!exists && !(hasFolder && HoldsFiles(names.files))) return {};
    return Fail(ErrorCode::BadInput,
                fmt::format("{} exists; use --overwrite to replace it, or give another name",
                            ToUtf8(exists ? names.project : names.files)));
}

Expected<void> ProjectPublisher::LayOut() {
    laidOut_ = true;
    working_.Create(names_.workingProject);
    for (const CString* path :
         {&names_.workingProject, &working_.scanposFolder, &working_.colorPlaneFolder,
          &working_.dataViewFolder, &working_.logicViewFolder}) {
        if (!platform::PathExists(*path)) {
            return Fail(ErrorCode::Failure,
                        fmt::format("cannot create {}; is its folder writable and the name short "
                                    "enough?",
                                    ToUtf8(*path)));
        }
    }
    const CString marker = platform::JoinPath(names_.workingFiles, kMarker);
    std::error_code error;
    platform::File file = platform::File::Create(marker, error);
    if (!error) file.Close(error);
    if (error) return FailSystem(error, fmt::format("cannot create {}", ToUtf8(marker)));
    return {};
}

Expected<CString> ProjectPublisher::ScratchFolder() {
    const CString folder = platform::JoinPath(working_.projectFilesFolder, L"runs");
    std::error_code error;
    platform::MakeFolder(folder, error);
    if (error) return FailSystem(error, fmt::format("cannot create {}", ToUtf8(folder)));
    return folder;
}

Expected<void> ProjectPublisher::RemoveScratch() {
    const CString folder = platform::JoinPath(working_.projectFilesFolder, L"runs");
    std::error_code error;
    if (platform::PathExists(folder)) platform::RemoveTree(folder, error);
    if (error) return FailSystem(error, fmt::format("cannot remove {}", ToUtf8(folder)));
    return {};
}

Expected<void> ProjectPublisher::SyncAll() {
    Expected<void> done = SyncFile(working_.headFile);
    if (done) done = SyncFile(working_.transformFile);
    if (done) done = SyncFile(names_.workingProject);
    if (done) done = SyncTree(working_.projectFilesFolder);
    return done;
}

// The new folder takes the target's name; an existing one goes to where the new one was, in one
// step where the system can.
// BEHAVIOUR I14
Expected<void> ProjectPublisher::SwapFiles() {
    replaced_ = platform::PathExists(names_.files);
    if (!replaced_) return RenameEntry(names_.workingFiles, names_.files);
    std::error_code error;
    platform::ExchangePaths(names_.workingFiles, names_.files, error);
    if (!error) return {};
    if (error != std::errc::operation_not_supported) {
        return FailSystem(error, fmt::format("cannot replace {}", ToUtf8(names_.files)));
    }
    if (auto aside = RenameEntry(names_.files, names_.aside); !aside) return aside;
    auto placed = RenameEntry(names_.workingFiles, names_.files);
    if (!placed) platform::Rename(names_.aside, names_.files, error);
    return placed;
}

void ProjectPublisher::UndoSwap() {
    std::error_code ignored;
    if (platform::PathExists(names_.aside)) {
        platform::Rename(names_.files, names_.workingFiles, ignored);
        platform::Rename(names_.aside, names_.files, ignored);
    } else if (replaced_) {
        platform::ExchangePaths(names_.workingFiles, names_.files, ignored);
    } else {
        platform::Rename(names_.files, names_.workingFiles, ignored);
    }
}

Expected<void> ProjectPublisher::Publish() {
    Expected<void> done = SyncAll();
    if (done) done = SwapFiles();
    if (!done) return done;
    done = RenameEntry(names_.workingProject, names_.project);
    if (!done) {
        UndoSwap();
        return done;
    }
    RemoveQuietly(platform::JoinPath(names_.files, kMarker));
    std::error_code error;
    const CString parent = platform::ParentOf(names_.project);
    platform::SyncFolder(parent.empty() ? CString(1, platform::PathSeparator()) : parent, error);
    if (error) {
        return FailSystem(error, fmt::format("{} is in place, but its device does not confirm it",
                                             ToUtf8(names_.project)));
    }
    return {};
}

void ProjectPublisher::RemoveWorking() {
    for (const CString* path : {&names_.workingProject, &names_.workingFiles, &names_.aside}) {
        if (platform::PathExists(*path)) RemoveQuietly(*path);
    }
}

ProjectPublisher::~ProjectPublisher() {
    if (laidOut_ && lock_) RemoveWorking();
}

}  // namespace orvix::importer
