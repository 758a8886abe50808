// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "importer/write/project_target.h"
#include "orvix/platform/error.h"
#include "orvix/platform/path.h"
#include "orvix/platform/text.h"
#include "orvix/project/project_manager.h"

namespace orvix::importer {

/// Creates a project beside its target and makes it appear in one step.
///
/// For the target scan.prj, work happens in scan.importing.prj and
/// scan.importing_Project_Files, under the lock scan.importing.lock. Publishing renames the
/// folder, then the project file; an existing project is exchanged for the new one in the same
/// way and removed afterwards (where folders cannot be exchanged, it is renamed to
/// scan.importing_Replaced_Files in between). Until then an empty file `importing` marks the new
/// folder.
///
///     auto publisher = ProjectPublisher::Begin(L"scan.prj", ProjectPublisher::Existing::Keep);
///     ... write the files of publisher->Working() ...
///     publisher->Publish();
///
/// Boundaries a project is replaced as a whole, with all that a host kept in its folder.
/// Errors     the target's folder is missing or cannot be written, the target is a folder, exists
///            and may not be replaced, or is being imported by another process. Files under the
///            working names that no import made are left alone. When publishing fails, the
///            existing project is put back.
/// Lifetime   the destructor removes what was not published. What a killed import left is removed
///            by the next `Begin` for the same target, which finds its lock file: a project that
///            was renamed comes back, a half-published project and the working files go.
/// Threads    one.
class ProjectPublisher {
public:
    using Existing = ExistingProject;

    static Expected<ProjectPublisher> Begin(const CString& target, Existing existing);
    ProjectPublisher(ProjectPublisher&&) = default;
    ProjectPublisher& operator=(ProjectPublisher&&) = delete;
    ~ProjectPublisher();

    /// The project under its working name; its folders exist.
    [[nodiscard]] ProjectManager& Working() { return working_; }
    /// A folder for temporary files; removed by RemoveScratch at the latest.
    Expected<CString> ScratchFolder();
    Expected<void> RemoveScratch();

    /// Brings what is in the folders to the device and makes the project appear.
    Expected<void> Publish();

private:
    ProjectPublisher(TargetNames names, platform::PathLock lock)
        : names_(std::move(names)), lock_(std::move(lock)) {}

    static Expected<void> Recover(const TargetNames& names);
    Expected<void> LayOut();
    Expected<void> SyncAll();
    Expected<void> SwapFiles();
    void UndoSwap();
    void RemoveWorking();

    TargetNames names_;
    platform::PathLock lock_;
    ProjectManager working_;
    bool replaced_ = false;  // the target's folder was there
    bool laidOut_ = false;
};

}  // namespace orvix::importer
