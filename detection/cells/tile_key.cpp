// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/cells/tile_key.h"

#include <algorithm>

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

ColumnRanks::ColumnRanks(std::span<const TileKey> keys) {
    if (keys.empty()) return;
    std::uint32_t highest = 0, columns = 0;
    lowest_ = kKeyY;
    TileKey last = ~TileKey{0};
    for (const TileKey key : keys) {
        lowest_ = std::min(lowest_, key % kKeyY);
        highest = std::max(highest, key % kKeyY);
        columns += key / kKeyY != last / kKeyY ? 1 : 0;
        last = key;
    }
    constexpr std::uint32_t kMargin = kRow + 1;  // the columns around the first and the last
    firstColumn_ = keys.front() / kKeyY - kMargin;
    startOf_.resize(keys.back() / kKeyY - keys.front() / kKeyY + 1 + 2 * kMargin);
    const std::size_t height = highest - lowest_ + 4;
    ranks_.resize((columns + 1) * height);
    auto at = ranks_.begin() + static_cast<std::ptrdiff_t>(height);
    for (std::uint32_t i = 0; i < keys.size();) {
        const std::uint32_t column = keys[i] / kKeyY;
        const auto start = at;
        startOf_[column - firstColumn_] = static_cast<std::uint32_t>(start - ranks_.begin());
        for (; i < keys.size() && keys[i] / kKeyY == column; ++i) {
            const auto end = start + static_cast<std::ptrdiff_t>(keys[i] % kKeyY - lowest_ + 2);
            for (; at < end; ++at) *at = i;
        }
        const auto end = start + static_cast<std::ptrdiff_t>(height);
        for (; at < end; ++at) *at = i;
    }
}

}  // namespace orvix::detection
