// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <system_error>
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

/// The absolute form of a path, against the current folder.
CString AbsolutePath(const CString& path);

bool PathExists(const CString& path);  ///< a file or a folder of that name exists
bool IsFolder(const CString& path);
bool IsSameFile(const CString& a, const CString& b);  ///< both exist and are one file

/// The size that the folder entry of an existing file tells; false when it cannot be queried.
bool QueryFileSize(const CString& path, std::uint64_t& bytes);

/// Creates one folder (its parent must exist). An existing folder is no error.
void MakeFolder(const CString& path, std::error_code& error);
/// Removes one empty folder.
void RemoveFolder(const CString& path, std::error_code& error);
void RemoveFile(const CString& path, std::error_code& error);
/// Removes a folder with all it holds; symbolic links are removed, never followed.
void RemoveTree(const CString& path, std::error_code& error);

/// Names (not paths) in a folder, without "." and "..", in ascending code-point order.
std::vector<CString> ListFolder(const CString& path, std::error_code& error);

/// Renames within one file system, replacing an existing file (not a folder) in one step.
void Rename(const CString& from, const CString& to, std::error_code& error);
/// Swaps two existing entries in one step where the system can (operation_not_supported else).
void ExchangePaths(const CString& a, const CString& b, std::error_code& error);
/// Waits until a folder's entries are on the device (nothing to do on some systems).
void SyncFolder(const CString& path, std::error_code& error);

/// Bytes that this user may still write on the path's file system.
std::uint64_t FreeSpace(const CString& path, std::error_code& error);

/// Takes an exclusive lock on a lock file, made if missing, without waiting; kept until the
/// returned object dies, or the process does. Empty when another process holds it.
class PathLock {
public:
    PathLock() = default;
    PathLock(PathLock&& other) noexcept : handle_(other.handle_) { other.handle_ = nullptr; }
    PathLock& operator=(PathLock&& other) noexcept;
    ~PathLock();
    static PathLock TryAcquire(const CString& path, std::error_code& error);
    explicit operator bool() const { return handle_ != nullptr; }

private:
    void* handle_ = nullptr;
};

}  // namespace orvix::platform
