// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <system_error>
#include <utility>

#include "orvix/platform/file.h"
#include "orvix/platform/view.h"

namespace orvix::platform {

/// Views start at multiples of this many bytes, on every system.
inline constexpr std::uint64_t kMappingGranularity = 65'536;

/// View access, as the readers carry it.
inline constexpr std::uint32_t kViewRead = 4;
inline constexpr std::uint32_t kViewAll = 0xF001F;

/// Maps the whole of an open file, at the size it has now. Null on failure, for an empty file
/// (which has nothing to map), and for a ReadWrite mapping of a file opened for reading.
/// The mapping outlives the file handle and is closed with CloseMapping.
///
/// Boundaries bytes added to the file later lie outside the mapping; who shortens a mapped file
///            makes touching the missing pages fatal, so nothing in this library does.
Handle CreateMapping(Handle file, FileAccess access);
void CloseMapping(Handle mapping);

/// A view of `bytes` bytes at `offset`; 0 bytes means "to the end of the mapping". `access` is
/// kViewRead or kViewAll (readable and writable; writes reach the file).
///
///     std::uint8_t* view = MapFileView(mapping, kViewRead, 5 * kMappingGranularity, 0);
///     ...
///     UnmapFileView(view);
///
/// Boundaries null unless `offset` is a multiple of 64 KiB and the range lies inside the mapping
///            (checked by subtraction); null for write access to a read-only mapping.
/// Lifetime   the view stays usable after the mapping is closed, until it is unmapped.
/// Cost       a few system calls, pages are read when touched.
std::uint8_t* MapFileView(Handle mapping, std::uint32_t access, std::uint64_t offset,
                          std::uint64_t bytes);

/// Releases `view` and maps another like MapFileView, at the same addresses where the system can:
/// for who slides along a file. Null `view` is left alone, and it ends whatever the outcome.
///
///     view = MoveFileView(view, mapping, kViewRead, next, kLength);
///
/// Cost       on POSIX one system call and no page of its own, between views for reading of about the
///            same length: a tenth of releasing one and mapping the other.
std::uint8_t* MoveFileView(std::uint8_t* view, Handle mapping, std::uint32_t access,
                           std::uint64_t offset, std::uint64_t bytes);

/// Owns one whole-file read-only view, for our own layers.
class MappedFile {
public:
    MappedFile() = default;
    MappedFile(MappedFile&& other) noexcept
        : base_(std::exchange(other.base_, nullptr)), size_(std::exchange(other.size_, 0)) {}
    MappedFile& operator=(MappedFile&& other) noexcept {
        std::swap(base_, other.base_);
        std::swap(size_, other.size_);
        return *this;
    }
    ~MappedFile() { UnmapFileView(base_); }

    /// Maps `path`; an empty file gives an open MappedFile of size 0 with a null address.
    static MappedFile Open(const CString& path, std::error_code& error);

    [[nodiscard]] const std::uint8_t* Data() const { return base_; }
    [[nodiscard]] std::uint64_t Size() const { return size_; }

private:
    const std::uint8_t* base_ = nullptr;
    std::uint64_t size_ = 0;
};

}  // namespace orvix::platform
