// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/write/project_publisher.h"

#include <fmt/format.h>

#include <new>
#include <system_error>
#include <utility>

#include "importer/files/whole_file.h"
#include "orvix/project/access/settings_update.h"
#include "orvix/project/covered_files.h"
#include "orvix/project/project_paths.h"

namespace orvix::importer {
namespace {

using orvix::detail::ReadImportText;
using platform::ToUtf8;

Expected<void> RenameEntry(const CString& from, const CString& to) {
    std::error_code error;
    platform::Rename(from, to, error);
    if (error)
        return FailSystem(error, fmt::format("cannot rename {} to {}", ToUtf8(from), ToUtf8(to)));
    return {};
}

Expected<void> MakeFolder(const CString& path) {
    std::error_code error;
    platform::MakeFolder(path, error);
    if (error) return FailSystem(error, fmt::format("cannot create {}", ToUtf8(path)));
    return {};
}

Expected<void> SyncEntries(const CString& folder) {
    std::error_code error;
    platform::SyncFolder(folder.empty() ? CString(1, platform::PathSeparator()) : folder, error);
    if (error) return FailSystem(error, fmt::format("cannot write {}", ToUtf8(folder)));
    return {};
}

Expected<void> SyncTree(const CString& folder) {
    std::error_code error;
    for (const CString& name : platform::ListFolder(folder, error)) {
        const CString path = platform::JoinPath(folder, name);
        if (!platform::IsFolder(path)) continue;
        if (auto synced = SyncTree(path); !synced) return synced;
    }
    if (error) return FailSystem(error, fmt::format("cannot read {}", ToUtf8(folder)));
    return SyncEntries(folder);
}

// What an ended repair, or an ended writer of settings, left beside the project that was replaced.
void RemoveUnfinishedRecords(const CString& project, std::vector<CString>& left) {
    for (const CString& path : {orvix::detail::UnfinishedPathOf(project),
                                project + orvix::detail::kUnfinishedSettingsEnding}) {
        std::error_code ignored;
        if (IsTaken(path)) platform::RemoveFile(path, ignored);
        if (IsTaken(path)) left.push_back(path);
    }
}

}  // namespace

Expected<ProjectPublisher> ProjectPublisher::Begin(const CString& target, Existing existing,
                                                   Ended ended) {
    if (target.empty()) return Fail(ErrorCode::BadInput, "the project has no name; give a path");
    TargetNames names(target);
    const CString parent = platform::ParentOf(names.project);
    if (auto possible = CheckPlace(names); !possible) return ErrorOf(possible);
    std::error_code error;
    platform::PathLock lock = platform::PathLock::TryAcquire(names.marks.lock, error);
    if (error) return FailSystem(error, fmt::format("cannot write to {}", ToUtf8(parent)));
    if (!lock) {
        return Fail(ErrorCode::Failure,
                    fmt::format("another import of {} is under way; wait for it to end",
                                ToUtf8(names.project)));
    }
    ProjectPublisher publisher(std::move(names), std::move(lock));
    if (ended == Ended::Continue) publisher.TakeOver();
    if (publisher.IsPublished()) return publisher;
    Expected<void> done;
    if (!publisher.continues_) done = Recover(publisher.names_);
    if (done) done = CheckTarget(publisher.names_, existing);
    if (done && platform::PathExists(publisher.names_.project)) {
        auto held = orvix::detail::ProjectLock::Acquire(publisher.names_.project);  // BEHAVIOUR P16
        if (held) publisher.replacing_.emplace(std::move(*held));
        if (!held) done = ErrorOf(held);
    }
    if (!done) {
        publisher.Leave();
        return ErrorOf(done);
    }
    if (publisher.continues_) return publisher;
    done = publisher.LayOut();
    if (done) return publisher;
    done.error().message += RemainsSentence(publisher.Clear());
    return ErrorOf(done);
}

// Only what is certain to be this target's own is taken over: the note, the new folder with its
// marker or the one in place, and the tasks.
void ProjectPublisher::TakeOver() {
    const orvix::detail::ImportMarks& marks = names_.marks;
    const std::string text = ReadImportText(marks.note);
    const CString tasks = marks.TasksOf(text);
    if (text.empty() || !platform::IsFolder(tasks) || !MadeWhole(names_, text)) return;
    using orvix::detail::MarkerState;
    const bool working = IsTaken(marks.workingProject);
    const MarkerState marker =
        orvix::detail::MarkerStateOf(working ? marks.workingFiles : names_.files, text);
    // The working file's name changes to the project's in one step; the marker goes after that.
    const bool published = !working && platform::PathExists(names_.project) &&
                           IsTaken(platform::JoinPath(tasks, kReportName));
    const bool own = marker == MarkerState::Own || (published && marker == MarkerState::None);
    const bool begun = IsTaken(platform::JoinPath(tasks, kJobName));
    if (!own || !(working ? begun : published)) return;
    text_ = text;
    laidOut_ = continues_ = true;
    orvix::detail::BuildPaths(working_, working ? marks.workingProject : names_.project);
    if (!working) stage_ = ImportStage::Published;
}

// A note that an import did not finish writing is the first that it made: nothing else can be there.
Expected<void> ProjectPublisher::Recover(const TargetNames& names) {
    const CString& note = names.marks.note;
    const std::string text = ReadImportText(note);
    std::vector<CString> left;
    if (!text.empty()) {
        left = ClearRemains(names, text, ImportStage::Unknown);
    } else if (orvix::detail::IsUnfinishedImportText(note)) {
        std::error_code ignored;
        platform::RemoveFile(note, ignored);
    }
    if (left.empty()) return RefuseOtherFiles(names);
    return Fail(ErrorCode::Failure,
                fmt::format("what a former import left beside {} is in the way{}; check the "
                            "permissions of its folder",
                            ToUtf8(names.project), RemainsSentence(left)));
}

// The note is on the device before anything else has a name, so that what is found later is
// known to be an import's own.
Expected<void> ProjectPublisher::LayOut() {
    text_ = orvix::detail::NewImportText();
    const orvix::detail::ImportMarks& marks = names_.marks;
    laidOut_ = true;
    Expected<void> done = WriteNewFile(marks.note, text_.data(), text_.size());
    if (done) done = SyncEntries(platform::ParentOf(names_.project));
    if (done) done = MakeFolder(marks.workingFiles);
    if (done) {
        done = WriteNewFile(orvix::detail::ImportMarks::MarkerIn(marks.workingFiles), text_.data(),
                            text_.size());
    }
    if (done) done = WriteNewFile(marks.workingProject, nullptr, 0);
    if (!done) return done;
    working_.Create(marks.workingProject);
    for (const CString* folder :
         {&working_.panoFolder, &working_.indexFolder, &working_.scanposFolder,
          &working_.dataFolder, &working_.slicesFolder, &working_.colorPlaneFolder,
          &working_.dataViewFolder, &working_.logicViewFolder, &working_.imagesFolder,
          &working_.cadFolder, &working_.sketchUpFolder}) {
        if (done) done = MakeFolder(*folder);
    }
    return done;
}

Expected<CString> ProjectPublisher::TasksFolder() {
    const CString folder = names_.marks.TasksOf(text_);
    Expected<void> made = MakeFolder(names_.marks.tasks);
    if (made) made = MakeFolder(folder);
    if (!made) return ErrorOf(made);
    return folder;
}

// The files were brought to the device when they were written.
Expected<void> ProjectPublisher::SyncAll() {
    return SyncTree(working_.projectFilesFolder);
}

// The new folder takes the target's name; an existing one goes to where the new one was, in one
// step where the system can.
// BEHAVIOUR I14
Expected<void> ProjectPublisher::SwapFiles() {
    const orvix::detail::ImportMarks& marks = names_.marks;
    replaced_ = platform::PathExists(names_.files);
    if (!replaced_) return RenameEntry(marks.workingFiles, names_.files);
    std::error_code error;
    platform::ExchangePaths(marks.workingFiles, names_.files, error);
    if (!error) return {};
    if (error != std::errc::operation_not_supported) {
        return FailSystem(error, fmt::format("cannot replace {}", ToUtf8(names_.files)));
    }
    if (auto aside = RenameEntry(names_.files, marks.aside); !aside) return aside;
    return RenameEntry(marks.workingFiles, names_.files);
}

// What fails before the project file has its name is undone by Clear.
Expected<void> ProjectPublisher::Publish() {
    Expected<void> done = SyncAll();
    if (!done) return done;
    stage_ = ImportStage::Unknown;
    done = SwapFiles();
    if (done) done = RenameEntry(names_.marks.workingProject, names_.project);
    if (!done) return done;
    stage_ = ImportStage::Published;
    done = SyncEntries(platform::ParentOf(names_.project));
    if (done) return done;
    keepFormer_ = replaced_;
    done.error().message = fmt::format("{} is in place, but its device does not confirm it: {}",
                                       ToUtf8(names_.project), done.error().message);
    return done;
}

std::vector<CString> ProjectPublisher::Clear() {
    if (!lock_) return {};
    std::vector<CString> left;
    if (keepFormer_) {
        for (const CString& path :
             {orvix::detail::ImportMarks::MarkerIn(names_.files), names_.marks.workingFiles,
              names_.marks.aside, names_.marks.note}) {
            if (IsTaken(path)) left.push_back(path);
        }
    } else if (laidOut_) {
        left = ClearRemains(names_, text_, stage_);
        if (stage_ == ImportStage::Published && replacing_)
            RemoveUnfinishedRecords(names_.project, left);
    }
    ReleaseLocks(left);
    return left;
}

void ProjectPublisher::ReleaseLocks(std::vector<CString>& left) {
    replacing_.reset();
    lock_ = platform::PathLock();
    for (const CString& lock :
         {names_.marks.lock, orvix::detail::ProjectLockPath(names_.project)}) {
        // Taken once more and released, unless another program holds it by now.
        std::error_code ignored;
        if (IsTaken(lock) && platform::PathLock::TryAcquire(lock, ignored) && IsTaken(lock))
            left.push_back(lock);
    }
}

void ProjectPublisher::Leave() {
    if (!lock_) return;
    if (stage_ == ImportStage::Unknown) MadeWhole(names_, text_);
    std::vector<CString> locks;
    ReleaseLocks(locks);
}

// Without memory nothing can be removed: the next import does it.
ProjectPublisher::~ProjectPublisher() {
    try {
        Clear();
    } catch (const std::bad_alloc&) {
        return;
    }
}

}  // namespace orvix::importer
