// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <system_error>

#include "orvix/platform/file.h"

namespace orvix::platform::detail {

/// The system calls that the shared sources of this room are made of; each is defined once in
/// posix/ and once in win32/. Use `File`, `MappedFile` and path.h everywhere else.
///
/// Errors  a call with an `error` sets it when it fails and clears it when it succeeds.

/// The characters that end a folder's name in a path; paths are joined with the first.
std::wstring_view PathSeparators();

/// Files of our own: unlike those of OpenExisting they may be renamed and removed while they are
/// open. Null on failure.
Handle OpenOwn(const CString& path, FileAccess access, std::error_code& error);
Handle CreateOwn(const CString& path, std::error_code& error);
/// Where nothing has that name; a link there is not followed, and is `file_exists` too.
Handle CreateNewOwn(const CString& path, std::error_code& error);
/// `file` is a valid handle; it is closed even where `error` is set.
void CloseOwn(Handle file, std::error_code& error);

/// Moves up to `bytes` bytes in one system call and returns how many were moved. Reading at or
/// past the file's end moves 0 and is no error.
std::size_t ReadSome(Handle file, std::uint64_t offset, void* buffer, std::size_t bytes,
                     std::error_code& error);
std::size_t WriteSome(Handle file, std::uint64_t offset, const void* data, std::size_t bytes,
                      std::error_code& error);

/// Prepares a write of at least one byte at `offset`, which may lie past the file's end.
void PrepareWrite(Handle file, std::uint64_t offset);

/// The calling thread's last system error as an error_code; clear after ForgetLastError when no
/// call failed since.
void ForgetLastError();
std::error_code LastError();

}  // namespace orvix::platform::detail
