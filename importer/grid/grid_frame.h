// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "importer/grid/sort_key.h"
#include "orvix/points/grid_cells.h"
#include "orvix/points/records.h"

namespace orvix::importer {

using AlivePoint = CCloudPoint<float>;

/// Where a 10 cm cell lies: in which 100 cm cell, and its place 0..9 along each axis inside it.
struct CellPosition {
    std::array<std::int32_t, 3> cell100{};
    std::array<std::int8_t, 3> cell10{};
};

/// Numbers the cells of a box, so that the sort key of a cell has few bits.
///
/// Units      metres, in the project's own frame.
/// Boundaries the box is at most 2 * 10^7 m wide, so that block numbers stay below 2^63.
/// Threads    a plain value.
class GridFrame {
public:
    GridFrame() = default;
    explicit GridFrame(const ExtendsT<float>& bounds);

    /// Precondition: `point` lies in the box.
    [[nodiscard]] SortKey KeyOf(const AlivePoint& point) const {
        const detail::AxisCell x = detail::CellOf(point.x);
        const detail::AxisCell y = detail::CellOf(point.y);
        const detail::AxisCell z = detail::CellOf(point.z);
        const std::uint64_t block =
            (Along(x, 0) * cells_[1] + Along(y, 1)) * cells_[2] + Along(z, 2);
        const std::int32_t inside100 = (Digit(x) * 10 + Digit(y)) * 10 + Digit(z);
        const std::int32_t inside10 = (x.cell10 * 10 + y.cell10) * 10 + z.cell10;
        return {block, static_cast<std::uint32_t>(inside100 * 1000 + inside10)};
    }
    /// The keys of many points, each as one number: block * kInsideKeys + inside.
    ///
    /// Precondition: `HasNumbers`, and each point lies in the box; `numbers` takes as many.
    /// Cost          eight points at a time where the processor has AVX2; a third of KeyOf's.
    void NumbersOf(std::span<const AlivePoint> points, std::uint64_t* numbers) const;
    /// Whether the number of each key stays below 2^63.
    [[nodiscard]] bool HasNumbers() const;
    [[nodiscard]] bool Contains(const AlivePoint& point) const;
    [[nodiscard]] CellPosition PositionOf(const SortKey& key) const;

private:
    [[nodiscard]] std::uint64_t Along(const detail::AxisCell& cell, int axis) const {
        return static_cast<std::uint64_t>(cell.cell1000 - first_[axis]);
    }
    static std::int32_t Digit(const detail::AxisCell& cell) {
        return cell.cell100 - 10 * cell.cell1000;
    }

    std::array<std::int32_t, 3> first_{};          // 1000 cm cell of the box's minimum corner
    std::array<std::uint64_t, 3> cells_{1, 1, 1};  // 1000 cm cells per axis
    ExtendsT<float> bounds_;
};

}  // namespace orvix::importer
