// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <compare>
#include <cstdint>

namespace orvix::importer {

/// The place of a 10 cm cell in the order of Grid.pts: by the 1000 cm cell (x, then y, then z), in
/// it by the 100 cm cell, in it by the 10 cm cell.
///
/// Keys of one GridFrame compare as the cells' points lie in the file.
struct SortKey {
    std::uint64_t block = 0;   ///< number of the 1000 cm cell within the frame
    std::uint32_t inside = 0;  ///< 0..999,999: 100 cm digits x, y, z, then 10 cm digits x, y, z

    auto operator<=>(const SortKey&) const = default;

    /// That of the first 10 cm cell in the same 100 cm cell.
    [[nodiscard]] SortKey Metre() const { return {block, inside / 1000 * 1000}; }
    /// The smallest key above this one.
    [[nodiscard]] SortKey Next() const { return {block, inside + 1}; }
};

inline constexpr std::uint32_t kInsideKeys = 1'000'000;
inline constexpr SortKey kFirstKey{0, 0};
inline constexpr SortKey kEndKey{~std::uint64_t{0}, 0};

/// A 10 cm cell and how many points of a stretch lie in it.
struct CellCount {
    SortKey key;
    std::uint32_t count = 0;
};

}  // namespace orvix::importer
