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

/// The places of keys by upright column and height, from which nine pairs of numbers name the
/// neighbourhood of a cell. Thin scans have a few cells in most columns: to advance along nine of them
/// at once, key by key, guesses wrong at every other step and takes six times as long.
///
///     const ColumnRanks ranks(keys);
///     const ColumnRanks::Nine around = ranks.Around(keys[i]);
///     for (const std::uint32_t* column : around) Use(ranks.First(column, keys[i]), ...);
///
/// Boundaries `keys` ascend; equal ones are allowed.
/// Cost       four bytes for each height of a column that has keys, some 400 at most, and for each column
///            between the first and the last.
class ColumnRanks {
public:
    /// A column: of each height, the first key that lies no lower.
    using Nine = std::array<const std::uint32_t*, 9>;

    explicit ColumnRanks(std::span<const TileKey> keys);

    /// The columns around that of a key, by x, then y. Precondition: neither is 0 in it.
    [[nodiscard]] Nine Around(TileKey key) const {
        constexpr std::array<std::uint32_t, 9> kSteps{
            0 - kRow - 1, 0 - kRow, 0 - kRow + 1, 0U - 1, 0, 1, kRow - 1, kRow, kRow + 1};
        Nine columns;
        for (std::size_t i = 0; i < columns.size(); ++i)
            columns[i] = ranks_.data() + startOf_[key / kKeyY - firstColumn_ + kSteps[i]];
        return columns;
    }
    /// Of a column's keys, those at most one below and one above a key: the first, and where they end.
    [[nodiscard]] std::uint32_t First(const std::uint32_t* column, TileKey key) const {
        return column[key % kKeyY - lowest_];
    }
    [[nodiscard]] std::uint32_t End(const std::uint32_t* column, TileKey key) const {
        return column[key % kKeyY - lowest_ + 3];
    }

private:
    static constexpr std::uint32_t kRow = kKeyX / kKeyY;

    std::uint32_t firstColumn_ = 0;       // that startOf_ holds
    std::uint32_t lowest_ = 0;            // of all keys, along z
    std::vector<std::uint32_t> startOf_;  // of each column, in ranks_; 0: a column without keys
    std::vector<std::uint32_t> ranks_;    // from one below the lowest key to two above the highest
};

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
/// Cost       that of ColumnRanks, and some 10 ns per cell that is wanted.
template <class Wanted, class Use>
void ForColumnsAround(std::span<const TileKey> keys, Wanted&& wanted, Use&& use) {
    const ColumnRanks ranks(keys);
    ColumnRanks::Nine columns{};
    TileKey at = 0;  // no key is 0 where it is wanted
    for (std::uint32_t i = 0; i < keys.size(); ++i) {
        if (!wanted(i)) continue;
        if (keys[i] / kKeyY != at / kKeyY) columns = ranks.Around(keys[i]);
        at = keys[i];
        for (const std::uint32_t* column : columns)
            use(i, ranks.First(column, at), ranks.End(column, at));
    }
}

}  // namespace orvix::detection
