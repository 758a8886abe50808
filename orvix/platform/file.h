// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <system_error>
#include <utility>

#include "orvix/platform/text.h"

namespace orvix::platform {

/// An operating-system file or mapping as the exported classes carry it: an opaque value that is
/// copied freely and closed once. Null means "none"; all bits set means "the open failed".
using Handle = void*;
inline const Handle kInvalidHandle = reinterpret_cast<Handle>(~std::uintptr_t{0});

inline bool IsValid(Handle handle) {
    return handle != nullptr && handle != kInvalidHandle;
}

enum class FileAccess { Read, ReadWrite };

/// Opens an existing file, shared with other readers and writers; kInvalidHandle on failure.
/// A folder, and a pipe or device that has no positions, count as failures; no open waits.
/// `LastErrorCode()` of system.h returns the cause.
Handle OpenExisting(const CString& path, FileAccess access);

/// Closes a handle of OpenExisting; null and the invalid handle are left alone.
void CloseHandleOf(Handle file);

/// The file's current size in bytes; false, with `size` untouched, for a handle that is none.
bool SizeOf(Handle file, std::uint64_t& size);

/// An open file of our own, closed at the end of its life: move-only, positioned reads and writes,
/// every failure as an error_code.
///
///     std::error_code error;
///     File file = File::Create(path, error);
///     if (!error) file.Append(block.data(), block.size(), error);
///     if (!error) file.Sync(error);
///     if (error) return FailSystem(error, "cannot write " + ToUtf8(path));
///
/// Errors     each call sets `error`, or clears it when it succeeds; test it after every call.
/// Boundaries a read past the end returns the bytes there are; a write past the end extends the
///            file with zeros (sparse where the file system can).
/// Threads    positioned reads and writes may run at once on one File; Append may not.
/// Cost       one system call per call (more when the system moves less than asked); no buffering:
///            hand over large blocks.
class File {
public:
    File() = default;
    File(File&& other) noexcept;
    File& operator=(File&& other) noexcept;
    ~File();

    /// Opens an existing file (shared). A folder is an error (is_a_directory).
    static File OpenRead(const CString& path, std::error_code& error);
    static File OpenReadWrite(const CString& path, std::error_code& error);
    /// Creates the file, or empties an existing one; readable and writable.
    static File Create(const CString& path, std::error_code& error);
    /// Creates the file where nothing has that name, not even a link; else `file_exists`.
    static File CreateNew(const CString& path, std::error_code& error);

    /// Takes over an open handle, and gives it up.
    static File Own(Handle handle) { return File(handle); }
    [[nodiscard]] Handle Release() { return std::exchange(handle_, nullptr); }

    [[nodiscard]] bool IsOpen() const { return IsValid(handle_); }
    [[nodiscard]] Handle Get() const { return handle_; }
    [[nodiscard]] std::uint64_t Size() const;

    /// Reads up to `bytes` at `offset`; returns how many were read (fewer only at the end).
    std::size_t ReadAt(std::uint64_t offset, void* buffer, std::size_t bytes,
                       std::error_code& error) const;
    void WriteAt(std::uint64_t offset, const void* data, std::size_t bytes, std::error_code& error);
    /// Writes at the end of what Append wrote so far (from offset 0 on a new File).
    void Append(const void* data, std::size_t bytes, std::error_code& error);
    [[nodiscard]] std::uint64_t AppendOffset() const { return appendOffset_; }

    /// Sets the length; a longer file gains zeros without using disk space where the system can.
    void Resize(std::uint64_t bytes, std::error_code& error);
    /// Reserves disk space for `bytes` from the start, so that later writes there cannot meet a
    /// full disk; the length stays as it is. Where the file system cannot, nothing happens.
    /// Resize gives back what lies past the new length.
    void Reserve(std::uint64_t bytes, std::error_code& error);
    /// Waits until the file's bytes are on the device.
    void Sync(std::error_code& error);
    /// Closes and reports a failure that only closing reveals.
    void Close(std::error_code& error);

private:
    explicit File(Handle handle) : handle_(handle) {}

    Handle handle_ = nullptr;
    std::uint64_t appendOffset_ = 0;
};

}  // namespace orvix::platform
