// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "orvix/points/records.h"
#include "orvix/project/project_core.h"

namespace orvix::detail {

/// The cells of a project's grid in memory: those of 1000 cm, and the 100 cm cells of each with
/// their runs of points.
///
/// Units   a cell's corner is its number times its size, metres, in the project's frame.
/// Order   as stored: the runs of the cells follow each other through Grid.pts.
/// Cost    24 bytes a cell of 100 cm, 32 a cell of 1000 cm; one pass over two index files.
struct ProjectCells {
    struct Cell {
        std::int32_t x = 0;
        std::int32_t y = 0;
        std::int32_t z = 0;
        std::uint32_t points = 0;
        std::uint64_t firstPoint = 0;
    };
    struct Block {
        std::int32_t x = 0;
        std::int32_t y = 0;
        std::int32_t z = 0;
        std::uint32_t cells = 0;
        std::uint64_t firstCell = 0;
        std::uint64_t points = 0;
    };
    std::vector<Block> blocks;  // of 1000 cm
    std::vector<Cell> cells;    // of 100 cm

    static ExtendsT<double> BoxOf(const Cell& cell) { return Box(cell.x, cell.y, cell.z, 1); }
    static ExtendsT<double> BoxOf(const Block& block) { return Box(block.x, block.y, block.z, 10); }

    /// Nothing where an entry leads outside the files, or the cells do not hold all points.
    static std::optional<ProjectCells> Read(const CProjectCore& core);

private:
    static ExtendsT<double> Box(double x, double y, double z, double size) {
        return {{x * size, y * size, z * size}, {(x + 1) * size, (y + 1) * size, (z + 1) * size}};
    }
};

}  // namespace orvix::detail
