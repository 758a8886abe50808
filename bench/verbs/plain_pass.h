// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <system_error>
#include <vector>

#include "bench/bench_support.h"
#include "orvix/platform/mapping.h"
#include "orvix/platform/path.h"
#include "orvix/points/records.h"
#include "output/output_file.h"

/// The least that a verb must do: touch the bytes that it reads, and those that it writes.
namespace orvix::bench {

/// A file's views of 8 MiB, one after the other, each unmapped before the next.
template <class Use>
void ForEachView(const CString& path, platform::FileAccess access, Use&& use) {
    constexpr std::uint64_t kViewBytes = std::uint64_t{8} << 20;
    const platform::Handle file = platform::OpenExisting(path, access);
    std::uint64_t size = 0;
    Require(platform::SizeOf(file, size), "a file cannot be opened");
    const platform::Handle mapping = platform::CreateMapping(file, access);
    const std::uint32_t rights =
        access == platform::FileAccess::Read ? platform::kViewRead : platform::kViewAll;
    for (std::uint64_t at = 0; at < size; at += kViewBytes) {
        const std::uint64_t bytes = std::min(kViewBytes, size - at);
        std::uint8_t* const view = platform::MapFileView(mapping, rights, at, bytes);
        Require(view != nullptr, "a file cannot be mapped");
        use(view, at, bytes);
        UnmapFileView(view);
    }
    platform::CloseMapping(mapping);
    platform::CloseHandleOf(file);
}

/// The sum of a file's 64-bit words, through views.
inline std::uint64_t ReadMapped(const CString& path) {
    std::uint64_t sum = 0;
    ForEachView(path, platform::FileAccess::Read,
                [&sum](const std::uint8_t* view, std::uint64_t, std::uint64_t bytes) {
                    for (std::uint64_t i = 0; i + 8 <= bytes; i += 8) {
                        std::uint64_t word = 0;
                        std::memcpy(&word, view + i, sizeof word);
                        sum += word;
                    }
                });
    return sum;
}

/// Turns a bit of the byte at `place` in each record of `recordBytes`.
inline void WriteMapped(const CString& path, std::uint64_t recordBytes, std::uint64_t place) {
    ForEachView(path, platform::FileAccess::ReadWrite,
                [=](std::uint8_t* view, std::uint64_t at, std::uint64_t bytes) {
                    const std::uint64_t first = (at + recordBytes - 1 - place) / recordBytes;
                    for (std::uint64_t i = first * recordBytes + place - at; i < bytes;
                         i += recordBytes)
                        view[i] ^= 0x80;
                });
}

/// Writes so many bytes to a file that then is on the disk, and no byte is made for it.
inline void WritePlainly(const CString& path, std::uint64_t bytes) {
    static const std::vector<std::uint8_t> block(std::size_t{4} << 20, 'x');
    output::OutputFile file(path);
    for (std::uint64_t at = 0; at < bytes; at += block.size())
        file.Append(block.data(), std::min<std::uint64_t>(block.size(), bytes - at));
    Require(file.Commit().has_value(), "a file cannot be written");
}

}  // namespace orvix::bench
