// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/outlines/global_id.h"

#include <bit>
#include <cstdint>

#define XXH_INLINE_ALL
#include <xxhash.h>

namespace orvix::output {

namespace {

void Append(std::string& bytes, std::uint64_t value) {
    for (int shift = 0; shift < 64; shift += 8) bytes += static_cast<char>(value >> shift & 255);
}

void Append(std::string& bytes, const reports::WorldPlane& plane) {
    Append(bytes, plane.points);
    for (const double value : plane.equation) Append(bytes, std::bit_cast<std::uint64_t>(value));
    for (const double value : {plane.centroid.x, plane.centroid.y, plane.centroid.z})
        Append(bytes, std::bit_cast<std::uint64_t>(value));
    bytes += plane.kind;
}

}  // namespace

std::string GlobalIdOf(const std::string& role, const std::vector<reports::WorldPlane>& planes) {
    static constexpr char kDigits[] =
        "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_$";
    std::string bytes = role;
    Append(bytes, planes.size());
    for (const reports::WorldPlane& plane : planes) Append(bytes, plane);
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

}  // namespace orvix::output
