// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/unfinished_file.h"

#include <new>
#include <utility>

#include "orvix/platform/path.h"

namespace orvix::platform {

UnfinishedFile::UnfinishedFile(const CString& path, const wchar_t* ending, std::error_code& error)
    : path_(path), part_(path + ending) {
    const Handle created = detail::CreateHeldOwn(part_, error);
    if (error) return;
    file_ = File::Own(created);
    made_ = true;
    try {
        removal_ = detail::NoteForRemoval(part_);
    } catch (const std::bad_alloc&) {
        removal_ = -1;  // as where there is no room: the destructor removes the file all the same
    }
}

UnfinishedFile::~UnfinishedFile() {
    if (!made_) return;
    detail::RemoveHeld(file_.Release(), part_);
    detail::ForgetRemoval(removal_);
}

void UnfinishedFile::TakePermissions(std::error_code& error) {
    detail::CopyPermissions(path_, file_.Get(), error);
    if (error == std::errc::no_such_file_or_directory) error.clear();
}

void UnfinishedFile::Publish(std::error_code& error) {
    file_.Sync(error);
    if (error) return;
    const CString folder = ParentOf(AbsolutePath(path_));
    detail::PublishHeld(file_.Release(), part_, path_, error);
    made_ = false;  // only now: where memory ran out, the destructor removes the file
    detail::ForgetRemoval(removal_);
    if (error) return;
    SyncFolder(folder.empty() ? CString(1, PathSeparator()) : folder, error);
    // A folder that may be written but not read cannot be waited for.
    if (error == std::errc::permission_denied) error.clear();
}

}  // namespace orvix::platform
