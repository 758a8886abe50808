// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "importer/write/project_remains.h"
#include "importer/write/project_target.h"
#include "orvix/platform/error.h"
#include "orvix/platform/path.h"
#include "orvix/platform/text.h"
#include "orvix/project/access/project_lock.h"
#include "orvix/project/project_manager.h"

namespace orvix::importer {

/// Creates a project beside its target and makes it appear in one step.
///
/// For the target scan.prj, work happens in scan.importing.prj and
/// scan.importing_Project_Files, under the lock scan.importing.lock. A note, scan.importing.note,
/// stands beside them from before the first until after the last, and a file `importing` of the same
/// text marks the new folder (orvix/project/access/import_marks.h). Publishing renames the folder, then the
/// project file; an existing project is exchanged for the new one in the same way and removed
/// afterwards (where folders cannot be exchanged, it is renamed to scan.importing_Replaced_Files in
/// between).
///
///     auto publisher = ProjectPublisher::Begin(L"scan.prj", ProjectPublisher::Existing::Keep);
///     ... write the files of publisher->Working(), and bring them to the device ...
///     publisher->Publish();
///     publisher->Clear();
///
/// Boundaries a project is replaced as a whole, with all that a host kept in its folder.
/// Errors     the target's folder is missing or cannot be written, the target is a folder, exists
///            and may not be replaced, or is being imported by another process. Files under the
///            working names that no import made are left alone.
/// Lifetime   `Clear`, or the destructor, puts the existing project back where publishing failed
///            and removes what is left beside it. What it could not remove, or a killed import left,
///            is settled by the next `Begin` for the same target, which finds the note.
/// Threads    one.
class ProjectPublisher {
public:
    using Existing = ExistingProject;

    /// What becomes of an import of the target that was ended on the way: it is cleared away, or
    /// continued where its tasks are there.
    enum class Ended { Clear, Continue };

    static Expected<ProjectPublisher> Begin(const CString& target, Existing existing,
                                            Ended ended = Ended::Clear);
    ProjectPublisher(ProjectPublisher&&) = default;
    ProjectPublisher& operator=(ProjectPublisher&&) = delete;
    ~ProjectPublisher();

    /// The project under its working name; its folders exist.
    [[nodiscard]] ProjectManager& Working() { return working_; }
    /// An ended import is continued: what it made is there.
    [[nodiscard]] bool Continues() const { return continues_; }
    /// The continued import had published already; `Clear` is all that is left to do.
    [[nodiscard]] bool IsPublished() const { return stage_ == ImportStage::Published; }
    /// The folder for what a continued import need not do again, beside the others; removed by Clear.
    Expected<CString> TasksFolder();
    /// Of the note and the marker: what makes this import another than any before.
    [[nodiscard]] const std::string& Text() const { return text_; }

    /// Brings what is in the folders to the device and makes the project appear.
    Expected<void> Publish();

    /// Ends the work, published or not; returns the paths that could not be removed. The former
    /// project's folder is among them where the device did not confirm the new one.
    /// Precondition the files are closed.
    std::vector<CString> Clear();
    /// Ends the work for now: all that was made stays, under its working names, for `Ended::Continue`.
    /// Precondition the files are closed.
    void Leave();

private:
    ProjectPublisher(TargetNames names, platform::PathLock lock)
        : names_(std::move(names)), lock_(std::move(lock)) {}

    static Expected<void> Recover(const TargetNames& names);
    void TakeOver();
    void ReleaseLocks(std::vector<CString>& left);
    Expected<void> LayOut();
    Expected<void> SyncAll();
    Expected<void> SwapFiles();

    ProjectManager working_;  // first: copying it is the one step of a move that can throw
    TargetNames names_;
    platform::PathLock lock_;
    std::optional<orvix::detail::ProjectLock> replacing_;  // the project that is there
    std::string text_;                                     // of the note and the marker
    ImportStage stage_ = ImportStage::Working;
    bool replaced_ = false;    // the target's folder was there
    bool keepFormer_ = false;  // and may still be needed
    bool laidOut_ = false;
    bool continues_ = false;
};

}  // namespace orvix::importer
