// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/cells/tile_key.h"

namespace orvix::detection {
namespace {

constexpr int kDigitBits = 11;  // two digits make a key
constexpr TileKey kDigits = TileKey{1} << kDigitBits;

void SortByDigit(std::span<const TileKey> keys, int shift, const std::vector<std::uint32_t>& from,
                 std::vector<std::uint32_t>& to) {
    std::array<std::uint32_t, kDigits + 1> starts{};
    for (const TileKey key : keys) ++starts[(key >> shift) % kDigits + 1];
    for (std::size_t i = 1; i <= kDigits; ++i) starts[i] += starts[i - 1];
    for (const std::uint32_t i : from) to[starts[(keys[i] >> shift) % kDigits]++] = i;
}

}  // namespace

std::vector<std::uint32_t> AscendingOrder(std::span<const TileKey> keys) {
    std::vector<std::uint32_t> order(keys.size()), byLow(keys.size());
    for (std::uint32_t i = 0; i < keys.size(); ++i) order[i] = i;
    SortByDigit(keys, 0, order, byLow);
    SortByDigit(keys, kDigitBits, byLow, order);
    return order;
}

}  // namespace orvix::detection
