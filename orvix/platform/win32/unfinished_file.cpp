// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/unfinished_file.h"

#include "orvix/platform/path.h"
#include "orvix/platform/win32/native.h"

namespace orvix::platform {

namespace detail {

// Shared with readers alone: a file that can be deleted is written by nobody.
Handle CreateHeldOwn(const CString& path, std::error_code& error) {
    const CString native = NativePath(path);
    for (;;) {
        const HANDLE file =
            CreateFileW(native.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                        CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (Succeeded(IsValid(file), path, error)) return file;
        if (error != std::errc::file_exists || IsFolder(path)) return nullptr;
        if (Succeeded(DeleteFileW(native.c_str()), error)) continue;
        if (error == ErrorOf(ERROR_FILE_NOT_FOUND)) continue;
        if (error == ErrorOf(ERROR_SHARING_VIOLATION)) {
            error = std::make_error_code(std::errc::device_or_resource_busy);
        }
        return nullptr;
    }
}

// Closed before it is renamed: the system renames no file that is held so.
void PublishHeld(Handle file, const CString& from, const CString& to, std::error_code& error) {
    CloseOwn(file, error);
    if (!error) Rename(from, to, error);
    if (error) DeleteFileW(NativePath(from).c_str());
}

void RemoveHeld(Handle file, const CString& path) {
    CloseHandleOf(file);
    DeleteFileW(NativePath(path).c_str());
}

// A new file has the permissions that its folder gives to all.
void CopyPermissions(const CString&, Handle, std::error_code& error) {
    error.clear();
}

// A file that is held cannot be removed; the next program that wants its name removes it.
int NoteForRemoval(const CString&) {
    return -1;
}

void ForgetRemoval(int) {}

}  // namespace detail

void RemoveUnfinishedFiles() {}

}  // namespace orvix::platform
