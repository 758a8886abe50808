// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/ifc/global_id.h"

#include <bit>

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace orvix::output {

std::string GlobalIdOf(std::string_view bytes) {
    static constexpr char kDigits[] =
        "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_$";
    const XXH128_hash_t hash = XXH3_128bits(bytes.data(), bytes.size());
    std::uint64_t high = (hash.high64 & ~0xF000ULL) | 0x8000ULL;                // version 8
    std::uint64_t low = (hash.low64 & ~(3ULL << 62)) | std::uint64_t{2} << 62;  // variant
    std::string guid(22, '0');
    for (std::size_t i = guid.size(); i-- > 0;) {
        guid[i] = kDigits[low % 64];
        low = low >> 6 | high << 58;
        high >>= 6;
    }
    return guid;
}

void AppendBytes(std::string& bytes, std::uint64_t value) {
    for (int shift = 0; shift < 64; shift += 8) bytes += static_cast<char>(value >> shift & 255);
}

void AppendBytes(std::string& bytes, double value) {
    AppendBytes(bytes, std::bit_cast<std::uint64_t>(value));
}

}  // namespace orvix::output
