// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstdint>

#include "orvix/platform/truncate.h"
#include "orvix/points/records.h"

namespace orvix::detail {

/// Which cells of the grid a local coordinate lies in, along one axis.
///
/// Cells are half-open: floor(coordinate / size). The 100 cm cell is floor(coordinate), exact for
/// every float; the 1000 cm cell is its floored tenth, so the levels nest. The 10 cm cell counts
/// 0..9 inside its 100 cm cell: floor(10 * (coordinate - cell100)) in double. A coordinate so
/// close below a whole metre that the product rounds up to 10 (within 1e-15 m) stays in cell 9.
struct AxisCell {
    std::int32_t cell1000 = 0;
    std::int32_t cell100 = 0;
    std::int32_t cell10 = 0;  // 0..9, inside cell100
};

inline std::int32_t FloorTenth(std::int32_t value) {
    const std::int32_t quotient = value / 10;
    return value % 10 < 0 ? quotient - 1 : quotient;
}

/// Precondition: `coordinate` is finite and its magnitude is below 2^31.
inline AxisCell CellOf(float coordinate) {
    const double metres = coordinate;
    AxisCell cell;
    cell.cell100 = FloorTo<std::int32_t>(metres);
    cell.cell1000 = FloorTenth(cell.cell100);
    cell.cell10 = std::min(static_cast<std::int32_t>((metres - cell.cell100) * 10.0), 9);
    return cell;
}

}  // namespace orvix::detail
