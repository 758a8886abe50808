// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/write/project_publisher.h"

#include <fmt/format.h>

#include <system_error>
#include <utility>

#include "orvix/platform/file.h"

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

Expected<ProjectPublisher> ProjectPublisher::Begin(const CString& target, Existing existing) {
    if (target.empty()) return Fail(ErrorCode::BadInput, "the project has no name; give a path");
    TargetNames names(target);
    const CString parent = platform::ParentOf(names.project);
    if (auto possible = CheckPlace(names); !possible) return ErrorOf(possible);
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
Expected<void> ProjectPublisher::Recover(const TargetNames& names) {
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
