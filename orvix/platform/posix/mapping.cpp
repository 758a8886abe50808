// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/mapping.h"

#include <sys/mman.h>

#include <fcntl.h>
#include <limits>
#include <optional>
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

struct Prefix {
    std::size_t total;  // of the prefix and the pieces
    bool forReading;    // whole pieces are mapped
};

Prefix* PrefixOf(std::uint8_t* view) {
    auto* const pieces = view - reinterpret_cast<std::uintptr_t>(view) % kPieceBytes;
    return reinterpret_cast<Prefix*>(pieces - kPrefixBytes);
}

}  // namespace

void UnmapFileView(const void* base) {
    if (base == nullptr) return;
    Prefix* const prefix = PrefixOf(static_cast<std::uint8_t*>(const_cast<void*>(base)));
    munmap(prefix, prefix->total);
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

namespace {

/// What a view needs, once its range has been checked.
struct ViewPlan {
    const Mapping& mapping;
    std::uint64_t offset;
    std::size_t length;
    bool writable;

    /// Before the view in its first piece.
    [[nodiscard]] std::size_t Skipped() const {
        return static_cast<std::size_t>(offset % kPieceBytes);
    }
    /// Of addresses: the prefix, and the pieces in which the view lies.
    [[nodiscard]] std::size_t Total() const {
        return kPrefixBytes + (Skipped() + length + kPieceBytes - 1) / kPieceBytes * kPieceBytes;
    }
    /// Maps the pieces that begin at `pieces` and take `bytes`; false on failure.
    [[nodiscard]] bool MapAt(std::uint8_t* pieces, std::size_t bytes) const {
        // Where a host may write, nothing but its view is mapped: a write beside it ends the program
        // instead of changing the file.
        const std::size_t before = writable ? 0 : Skipped();
        const int protection = writable ? PROT_READ | PROT_WRITE : PROT_READ;
        return mmap(pieces + Skipped() - before, writable ? length : bytes, protection,
                    MAP_SHARED | MAP_FIXED, mapping.descriptor,
                    static_cast<off_t>(offset - before)) != MAP_FAILED;
    }
};

std::optional<ViewPlan> PlanView(Handle mapping, std::uint32_t access, std::uint64_t offset,
                                 std::uint64_t bytes) {
    if (!IsValid(mapping) || offset % kMappingGranularity != 0) return std::nullopt;
    const Mapping& whole = *static_cast<const Mapping*>(mapping);
    const bool writable = (access & kViewWriteBit) != 0;
    if (writable && whole.access != FileAccess::ReadWrite) return std::nullopt;
    if (offset >= whole.size || bytes > whole.size - offset) return std::nullopt;
    const std::uint64_t length = bytes != 0 ? bytes : whole.size - offset;
    if (length > std::numeric_limits<std::size_t>::max() / 2) return std::nullopt;
    return ViewPlan{whole, offset, static_cast<std::size_t>(length), writable};
}

/// Gives addresses back after a failure whose cause stays readable.
std::nullptr_t GiveUp(void* start, std::size_t total) {
    const int cause = errno;
    munmap(start, total);
    errno = cause;
    return nullptr;
}

std::uint8_t* MapAnew(const ViewPlan& plan) {
    const std::size_t total = plan.Total();
    void* const start = ReserveAddresses(total);
    if (start == MAP_FAILED) return nullptr;
    std::uint8_t* const pieces = static_cast<std::uint8_t*>(start) + kPrefixBytes;
    if (mprotect(start, kPrefixBytes, PROT_READ | PROT_WRITE) != 0 ||
        !plan.MapAt(pieces, total - kPrefixBytes)) {
        return GiveUp(start, total);
    }
    *static_cast<Prefix*>(start) = {total, !plan.writable};
    return pieces + plan.Skipped();
}

/// Whether a view fits where another lies, and does not hold on to many more addresses than it needs.
bool FitsIn(const ViewPlan& plan, const Prefix& prefix) {
    return prefix.forReading && !plan.writable && plan.Total() <= prefix.total &&
           prefix.total - plan.Total() <= plan.Total();
}

}  // namespace

std::uint8_t* MapFileView(Handle mapping, std::uint32_t access, std::uint64_t offset,
                          std::uint64_t bytes) {
    const std::optional<ViewPlan> plan = PlanView(mapping, access, offset, bytes);
    return plan ? MapAnew(*plan) : nullptr;
}

std::uint8_t* MoveFileView(std::uint8_t* view, Handle mapping, std::uint32_t access,
                           std::uint64_t offset, std::uint64_t bytes) {
    const std::optional<ViewPlan> plan = PlanView(mapping, access, offset, bytes);
    Prefix* const prefix = view != nullptr ? PrefixOf(view) : nullptr;
    if (!plan || prefix == nullptr || !FitsIn(*plan, *prefix)) {
        UnmapFileView(view);
        return plan ? MapAnew(*plan) : nullptr;
    }
    // All pieces, those past the new view too: nothing of the old one stays mapped.
    std::uint8_t* const pieces = reinterpret_cast<std::uint8_t*>(prefix) + kPrefixBytes;
    const std::size_t total = prefix->total;
    if (!plan->MapAt(pieces, total - kPrefixBytes)) return GiveUp(prefix, total);
    return pieces + plan->Skipped();
}

}  // namespace platform
}  // namespace orvix
