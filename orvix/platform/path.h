// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <system_error>
#include <utility>
#include <vector>

#include "orvix/platform/text.h"

namespace orvix::platform {

/// "\" on Windows, "/" elsewhere; paths are joined with nothing else.
wchar_t PathSeparator();

/// `folder` + separator + `name`, letter for letter: no normalisation, no check.
CString JoinPath(const CString& folder, const CString& name);

/// The path without the file name's last "." and what follows it; a path whose file name has
/// none is returned as it is (a dot in a folder's name is none).
CString RemoveExtension(const CString& path);

/// What follows the last separator; the whole path when there is none.
CString FileNameOf(const CString& path);

/// What precedes the last separator; empty when there is none.
CString ParentOf(const CString& path);

/// The absolute form of a path, against the current folder; no link is resolved.
CString AbsolutePath(const CString& path);

/// A file or a folder of that name exists; a link counts as what it points to, or as nothing.
bool PathExists(const CString& path);
bool IsFolder(const CString& path);
bool IsLink(const CString& path);  ///< a symbolic link, whether what it points to exists or not
bool IsSameFile(const CString& a, const CString& b);  ///< both exist and are one file

/// The size of an existing file as its folder entry states it (a folder's is 0); false, with
/// `bytes` untouched, when it cannot be queried.
bool QueryFileSize(const CString& path, std::uint64_t& bytes);

/// The calls below set `error`, or clear it when they succeed.

/// Creates one folder (its parent must exist). An existing folder is no error, a file is one.
void MakeFolder(const CString& path, std::error_code& error);
/// Removes one empty folder.
void RemoveFolder(const CString& path, std::error_code& error);
void RemoveFile(const CString& path, std::error_code& error);
/// Removes a folder with all it holds, or a file; symbolic links are removed, never followed.
/// What does not exist is no error.
void RemoveTree(const CString& path, std::error_code& error);

/// Names (not paths) in a folder, without "." and "..", in ascending code-point order.
std::vector<CString> ListFolder(const CString& path, std::error_code& error);

/// Renames within one file system, replacing an existing file in one step. An existing folder is
/// never replaced, not even an empty one.
void Rename(const CString& from, const CString& to, std::error_code& error);
/// Swaps two existing entries in one step where the system can (operation_not_supported else).
void ExchangePaths(const CString& a, const CString& b, std::error_code& error);
/// Waits until a folder's entries are on the device (nothing to do on some systems).
void SyncFolder(const CString& path, std::error_code& error);

/// Bytes that this user may still write on the path's file system.
std::uint64_t FreeSpace(const CString& path, std::error_code& error);

/// An exclusive lock between processes, on a lock file that exists only while the lock is held.
///
///     PathLock lock = PathLock::TryAcquire(path, error);
///     if (!lock) return error ? FailSystem(error, what) : Fail(..., "another import is running");
///
/// The lock file holds the number of its holder's process, as text.
///
/// Boundaries a second holder in the same process is refused like one in another process. A link, or
///            a file that is longer than any lock file, is not taken for one, and stays as it is.
/// Errors     an empty lock with `error` clear: someone else holds it; with `error` set: the lock
///            file cannot be made.
/// Lifetime   held until the object dies, or the process does; a lock file that a killed process
///            left behind is taken over. Nobody else deletes or renames a lock file.
class PathLock {
public:
    PathLock() = default;
    PathLock(PathLock&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    PathLock& operator=(PathLock&& other) noexcept;
    ~PathLock();

    /// Never waits.
    static PathLock TryAcquire(const CString& path, std::error_code& error);
    /// The process that holds the lock, for a message; 0 where that cannot be read. Whoever made
    /// the file may have ended: ask only after being refused.
    static std::uint64_t HolderOf(const CString& path);
    explicit operator bool() const { return handle_ != nullptr; }

private:
    void* handle_ = nullptr;
};

}  // namespace orvix::platform
