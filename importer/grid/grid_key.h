// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <compare>
#include <cstdint>

#include "orvix/points/grid_cells.h"
#include "orvix/points/records.h"

namespace orvix::importer {

using AlivePoint = CCloudPoint<float>;

/// The place of a 10 cm cell in the order of Grid.pts: the 1000 cm cell (x, then y, then z), in
/// it the 100 cm cell, in it the 10 cm cell.
struct CellKey {
    std::uint64_t block = 0;   ///< number of the 1000 cm cell within the frame
    std::uint32_t inside = 0;  ///< 0..999,999: 100 cm digits x, y, z, then 10 cm digits x, y, z

    auto operator<=>(const CellKey&) const = default;
    /// The least key above this one.
    [[nodiscard]] CellKey Next() const { return {block, inside + 1}; }
};

inline constexpr std::uint32_t kInsideKeys = 1'000'000;
inline constexpr CellKey kFirstKey{0, 0};
inline constexpr CellKey kEndKey{~std::uint64_t{0}, 0};

/// The cells of a 10 cm cell: its 100 cm cell, and 0..9 an axis inside it.
struct CellPosition {
    std::array<std::int32_t, 3> cell100{};
    std::array<std::int8_t, 3> cell10{};
};

/// Numbers the cells of a box, so that a cell's place in the order is one number and a small one.
///
/// Units      metres, project frame.
/// Boundaries the box is at most 2 * 10^7 m wide, so that block numbers stay below 2^63.
/// Threads    a plain value.
class GridFrame {
public:
    GridFrame() = default;
    explicit GridFrame(const ExtendsT<float>& bounds);

    /// Precondition: `point` lies in the box.
    [[nodiscard]] CellKey KeyOf(const AlivePoint& point) const {
        const detail::AxisCell x = detail::CellOf(point.x);
        const detail::AxisCell y = detail::CellOf(point.y);
        const detail::AxisCell z = detail::CellOf(point.z);
        const std::uint64_t block =
            (Along(x, 0) * cells_[1] + Along(y, 1)) * cells_[2] + Along(z, 2);
        const std::int32_t inside100 = (Digit(x) * 10 + Digit(y)) * 10 + Digit(z);
        const std::int32_t inside10 = (x.cell10 * 10 + y.cell10) * 10 + z.cell10;
        return {block, static_cast<std::uint32_t>(inside100 * 1000 + inside10)};
    }
    [[nodiscard]] bool Contains(const AlivePoint& point) const;
    [[nodiscard]] CellPosition PositionOf(const CellKey& key) const;

private:
    [[nodiscard]] std::uint64_t Along(const detail::AxisCell& cell, int axis) const {
        return static_cast<std::uint64_t>(cell.cell1000 - first_[axis]);
    }
    static std::int32_t Digit(const detail::AxisCell& cell) {
        return cell.cell100 - 10 * cell.cell1000;
    }

    std::array<std::int32_t, 3> first_{};          // 1000 cm cell of the box's minimum corner
    std::array<std::uint64_t, 3> cells_{1, 1, 1};  // 1000 cm cells an axis
    ExtendsT<float> bounds_;
};

}  // namespace orvix::importer
