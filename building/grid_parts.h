// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "building/plan_grid.h"

namespace orvix::building {

/// Cells that hang together side by side, numbered by their first cell.
struct Parts {
    std::vector<std::int32_t> part;  ///< of each cell; -1: none
    std::vector<std::size_t> sizes;
};

/// The parts of cells that are `inside`; two cells beside each other are of one part where
/// `same(a, b)`.
template <class Same>
Parts PartsOf(const PlanGrid& grid, const std::vector<std::uint8_t>& inside, const Same& same) {
    Parts parts{std::vector<std::int32_t>(grid.Size(), -1), {}};
    std::vector<std::size_t> todo;
    const auto columns = static_cast<std::size_t>(grid.columns);
    for (std::size_t start = 0; start < grid.Size(); ++start) {
        if (inside[start] == 0 || parts.part[start] >= 0) continue;
        const auto number = static_cast<std::int32_t>(parts.sizes.size());
        parts.sizes.push_back(0);
        todo.assign(1, start);
        parts.part[start] = number;
        while (!todo.empty()) {
            const std::size_t at = todo.back();
            todo.pop_back();
            ++parts.sizes.back();
            const auto visit = [&](std::size_t next) {
                if (inside[next] == 0 || parts.part[next] >= 0 || !same(at, next)) return;
                parts.part[next] = number;
                todo.push_back(next);
            };
            if (at % columns > 0) visit(at - 1);
            if (at % columns + 1 < columns) visit(at + 1);
            if (at >= columns) visit(at - columns);
            if (at + columns < grid.Size()) visit(at + columns);
        }
    }
    return parts;
}

inline Parts PartsOf(const PlanGrid& grid, const std::vector<std::uint8_t>& inside) {
    return PartsOf(grid, inside, [](std::size_t, std::size_t) { return true; });
}

/// Of each part, whether it reaches the grid's rim.
inline std::vector<bool> RimParts(const PlanGrid& grid, const Parts& parts) {
    std::vector<bool> rim(parts.sizes.size());
    for (std::int64_t j = 0; j < grid.rows; ++j)
        for (std::int64_t i = 0; i < grid.columns; ++i) {
            if (i > 0 && j > 0 && i + 1 < grid.columns && j + 1 < grid.rows) continue;
            if (const std::int32_t part = parts.part[grid.At(i, j)]; part >= 0)
                rim[static_cast<std::size_t>(part)] = true;
        }
    return rim;
}

}  // namespace orvix::building
