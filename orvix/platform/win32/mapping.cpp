// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/mapping.h"

#include <limits>

#include "orvix/platform/win32/native.h"

namespace orvix {

void UnmapFileView(const void* base) {
    if (base != nullptr) UnmapViewOfFile(base);
}

namespace platform {
namespace {

/// What the system reports of a mapping; declared by the system's driver headers alone.
struct SectionInformation {
    void* base;
    ULONG attributes;
    LARGE_INTEGER size;
};
using QuerySection = LONG(NTAPI*)(HANDLE, int, void*, SIZE_T, SIZE_T*);

/// The size of the file when it was mapped; views are checked against it to the byte, where the
/// system would round up to a page. 0 when `mapping` is none.
std::uint64_t SizeOfMapping(HANDLE mapping) {
    const HMODULE system = GetModuleHandleW(L"ntdll.dll");
    const auto query = reinterpret_cast<QuerySection>(
        reinterpret_cast<void*>(GetProcAddress(system, "NtQuerySection")));
    SectionInformation information{};
    const bool known =
        query != nullptr && query(mapping, 0, &information, sizeof information, nullptr) >= 0;
    return known ? static_cast<std::uint64_t>(information.size.QuadPart) : 0;
}

}  // namespace

Handle CreateMapping(Handle file, FileAccess access) {
    std::uint64_t size = 0;
    if (!SizeOf(file, size) || size == 0) return nullptr;
    const DWORD protection = access == FileAccess::Read ? PAGE_READONLY : PAGE_READWRITE;
    return CreateFileMappingW(file, nullptr, protection, 0, 0, nullptr);
}

void CloseMapping(Handle mapping) {
    CloseHandleOf(mapping);
}

std::uint8_t* MapFileView(Handle mapping, std::uint32_t access, std::uint64_t offset,
                          std::uint64_t bytes) {
    if (!IsValid(mapping) || offset % kMappingGranularity != 0) return nullptr;
    const std::uint64_t size = SizeOfMapping(mapping);
    if (offset >= size || bytes > size - offset) return nullptr;
    if (bytes > std::numeric_limits<std::size_t>::max()) return nullptr;
    return static_cast<std::uint8_t*>(
        MapViewOfFile(mapping, access, static_cast<DWORD>(offset >> 32), static_cast<DWORD>(offset),
                      static_cast<std::size_t>(bytes)));
}

std::uint8_t* MoveFileView(std::uint8_t* view, Handle mapping, std::uint32_t access,
                           std::uint64_t offset, std::uint64_t bytes) {
    UnmapFileView(view);
    return MapFileView(mapping, access, offset, bytes);
}

}  // namespace platform
}  // namespace orvix
