// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/mapping.h"

#include <sys/mman.h>

#include <fcntl.h>
#include <limits>
#include <unistd.h>

#include "orvix/platform/posix/native.h"

namespace orvix {
namespace {

/// The system maps a piece of the file cache this long with one entry, where address and file
/// offset agree modulo its length. A view therefore begins at such an address, and around a view
/// for reading whole pieces are mapped: one of 8 MiB that begins between two pieces costs a fifth
/// of what its pages would cost one by one.
// BEHAVIOUR O7
constexpr std::size_t kPieceBytes = std::size_t{2} << 20;

/// The first piece is preceded by memory of its own that keeps the length of all together:
/// releasing a view then needs its address alone, and no table that threads would have to share.
/// The size is a multiple of every page size in use.
constexpr std::size_t kPrefixBytes = 65'536;

}  // namespace

void UnmapFileView(const void* base) {
    if (base == nullptr) return;
    auto* const view = const_cast<std::uint8_t*>(static_cast<const std::uint8_t*>(base));
    auto* const start = view - reinterpret_cast<std::uintptr_t>(view) % kPieceBytes - kPrefixBytes;
    munmap(start, *reinterpret_cast<const std::size_t*>(start));
}

namespace platform {
namespace {

/// Addresses for `total` bytes that reach a multiple of kPieceBytes after kPrefixBytes; MAP_FAILED
/// on failure.
void* ReserveAddresses(std::size_t total) {
    void* const reserved =
        mmap(nullptr, total + kPieceBytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (reserved == MAP_FAILED) return reserved;
    auto* const begin = static_cast<std::uint8_t*>(reserved);
    const std::size_t past = (reinterpret_cast<std::uintptr_t>(begin) + kPrefixBytes) % kPieceBytes;
    const std::size_t head = past == 0 ? 0 : kPieceBytes - past;
    if (head != 0) munmap(begin, head);
    munmap(begin + head + total, kPieceBytes - head);
    return begin + head;
}

/// The bit of a view's access that asks for writing; kViewAll holds it.
constexpr std::uint32_t kViewWriteBit = 2;

struct Mapping {
    int descriptor;
    FileAccess access;
    std::uint64_t size;
};

bool CanWrite(int descriptor) {
    const int flags = fcntl(descriptor, F_GETFL);
    return flags != -1 && (flags & O_ACCMODE) == O_RDWR;
}

}  // namespace

Handle CreateMapping(Handle file, FileAccess access) {
    std::uint64_t size = 0;
    if (!SizeOf(file, size) || size == 0) return nullptr;
    if (access == FileAccess::ReadWrite && !CanWrite(detail::DescriptorOf(file))) return nullptr;
    const int descriptor = fcntl(detail::DescriptorOf(file), F_DUPFD_CLOEXEC, 0);
    if (descriptor == -1) return nullptr;
    return new Mapping{descriptor, access, size};
}

void CloseMapping(Handle mapping) {
    if (!IsValid(mapping)) return;
    auto* const owned = static_cast<Mapping*>(mapping);
    close(owned->descriptor);
    delete owned;
}

std::uint8_t* MapFileView(Handle mapping, std::uint32_t access, std::uint64_t offset,
                          std::uint64_t bytes) {
    if (!IsValid(mapping) || offset % kMappingGranularity != 0) return nullptr;
    const Mapping& whole = *static_cast<const Mapping*>(mapping);
    const bool writable = (access & kViewWriteBit) != 0;
    if (writable && whole.access != FileAccess::ReadWrite) return nullptr;
    if (offset >= whole.size || bytes > whole.size - offset) return nullptr;
    const std::uint64_t length = bytes != 0 ? bytes : whole.size - offset;
    if (length > std::numeric_limits<std::size_t>::max() / 2) return nullptr;

    const auto skipped = static_cast<std::size_t>(offset % kPieceBytes);
    const std::size_t pieces =
        (skipped + static_cast<std::size_t>(length) + kPieceBytes - 1) / kPieceBytes;
    const std::size_t total = kPrefixBytes + pieces * kPieceBytes;
    void* const start = ReserveAddresses(total);
    if (start == MAP_FAILED) return nullptr;
    std::uint8_t* const base = static_cast<std::uint8_t*>(start) + kPrefixBytes;
    // Where a host may write, nothing but its view is mapped: a write beside it ends the program
    // instead of changing the file.
    const std::size_t before = writable ? 0 : skipped;
    const std::size_t mappedBytes =
        writable ? static_cast<std::size_t>(length) : pieces * kPieceBytes;
    const int protection = writable ? PROT_READ | PROT_WRITE : PROT_READ;
    const bool mapped =
        mprotect(start, kPrefixBytes, PROT_READ | PROT_WRITE) == 0 &&
        mmap(base + skipped - before, mappedBytes, protection, MAP_SHARED | MAP_FIXED,
             whole.descriptor, static_cast<off_t>(offset - before)) != MAP_FAILED;
    if (!mapped) {
        const int cause = errno;
        munmap(start, total);
        errno = cause;
        return nullptr;
    }
    *static_cast<std::size_t*>(start) = total;
    return base + skipped;
}

}  // namespace platform
}  // namespace orvix
