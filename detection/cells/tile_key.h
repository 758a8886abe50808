// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "detection/cells/cell_frame.h"

namespace orvix::detection {

/// A cell's place in its tile as one number of 21 bits, which sorts by x, then y, then z.
///
///     const TileKey key = KeyOf(place, origin);
///     const CellPlace same = PlaceOf(key, origin);
///
/// Boundaries along an axis the tile's cells have 1 to CellFrame::kMaxCellsPerAxis; 0 and one more
///            than the largest are those of the cells around the tile.
using TileKey = std::uint32_t;

inline constexpr int kKeyBitsPerAxis = 7;
inline constexpr TileKey kKeyX = TileKey{1} << (2 * kKeyBitsPerAxis);
inline constexpr TileKey kKeyY = TileKey{1} << kKeyBitsPerAxis;

/// `origin` is the tile's first cell.
inline TileKey KeyOf(const CellPlace& place, const CellPlace& origin) {
    const auto at = [&](std::size_t axis) {
        return static_cast<TileKey>(place[axis]) - static_cast<TileKey>(origin[axis]) + 1;
    };
    return at(0) * kKeyX + at(1) * kKeyY + at(2);
}
inline CellPlace PlaceOf(TileKey key, const CellPlace& origin) {
    const auto at = [](TileKey part) { return static_cast<std::int32_t>(part % kKeyY) - 1; };
    return {origin[0] + at(key / kKeyX), origin[1] + at(key / kKeyY), origin[2] + at(key)};
}

/// The order in which keys ascend: the place of the smallest, of the next, and so on.
///
/// Order  equal keys stay in their order.
/// Cost   two passes of counting.
std::vector<std::uint32_t> AscendingOrder(std::span<const TileKey> keys);

/// Finds the neighbours of cells: calls use(cell, first, last) nine times for each cell that
/// `wanted` accepts, once for each upright column of its neighbourhood of 27. The cells from
/// `first` up to, without, `last` lie in that column.
///
///     ForColumnsAround(keys, [](std::uint32_t) { return true; },
///                      [&](std::uint32_t cell, std::uint32_t first, std::uint32_t last) {
///                          for (std::uint32_t i = first; i < last; ++i) Use(cell, i);
///                      });
///
/// Boundaries `keys` ascend. Cells with 0 along an axis must not be wanted.
/// Order      cells ascend; columns by x, then y, so that the fifth is the cell's own.
/// Cost       nine places that advance along the keys: some 30 ns per cell that is wanted, 10 ns
///            per other cell.
template <class Wanted, class Use>
void ForColumnsAround(std::span<const TileKey> keys, Wanted&& wanted, Use&& use) {
    constexpr std::array<TileKey, 9> kSteps{0 - kKeyX - kKeyY, 0 - kKeyX, 0 - kKeyX + kKeyY,
                                            0 - kKeyY,         0,         kKeyY,
                                            kKeyX - kKeyY,     kKeyX,     kKeyX + kKeyY};
    std::array<std::size_t, 9> at{};
    const std::size_t size = keys.size();
    for (std::size_t i = 0; i < size; ++i) {
        if (!wanted(static_cast<std::uint32_t>(i))) continue;
        for (std::size_t column = 0; column < 9; ++column) {
            const TileKey lowest = keys[i] + kSteps[column] - 1;
            std::size_t first = at[column];
            while (first < size && keys[first] < lowest) ++first;
            at[column] = first;
            std::size_t last = first;
            while (last < size && keys[last] <= lowest + 2) ++last;
            use(static_cast<std::uint32_t>(i), static_cast<std::uint32_t>(first),
                static_cast<std::uint32_t>(last));
        }
    }
}

}  // namespace orvix::detection
