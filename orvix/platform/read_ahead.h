// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace orvix::detail {

/// How far ahead of its place a loop over a view asks for bytes. The processor sees by itself that
/// memory is read in sequence, but begins anew on each page of 4 KiB: a page and a half ahead it is
/// there before. Streaming the DCLC pairs of 480 MB takes 0.97 of a bare loop's time with it, 1.14
/// without, 1.12 at half a page ahead and 1.0 at a page (bench_stream_points).
inline constexpr std::uint64_t kReadAheadBytes = 6'144;

/// Asks for the line of memory at `distance` from `base`, ahead of its use. Never faults, wherever
/// the place is; a compiler without such a hint does nothing.
inline void ReadAhead(const std::uint8_t* base, std::uint64_t distance) {
#if defined(__GNUC__)
    const auto address = reinterpret_cast<std::uintptr_t>(base) + distance;
    __builtin_prefetch(reinterpret_cast<const void*>(address));
#else
    static_cast<void>(base);
    static_cast<void>(distance);
#endif
}

}  // namespace orvix::detail
