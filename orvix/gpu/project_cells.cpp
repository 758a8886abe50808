// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/gpu/project_cells.h"

namespace orvix::detail {
namespace {

// The cells of one block; false where an entry leads outside the point file.
bool ReadCells(CIndexReader& index, std::uint32_t count, std::uint64_t points, ProjectCells& cells,
               ProjectCells::Block& block) {
    bool more = count > 0;
    while (more) {
        more = index.ReadIndex100(count);
        ProjectCells::Cell cell;
        index.GetXYZ100(cell.x, cell.y, cell.z);
        index.GetOffsetCount100(cell.firstPoint, cell.points);
        if (cell.firstPoint > points || cell.points > points - cell.firstPoint) return false;
        cells.cells.push_back(cell);
        block.points += cell.points;
    }
    return true;
}

}  // namespace

std::optional<ProjectCells> ProjectCells::Read(const CProjectCore& core) {
    ProjectCells cells;
    const auto points = static_cast<std::uint64_t>(core.AlivePointCount());
    const auto index = core.CreateIndexReader();
    // Every cell holds a point: an index with more cells than points leads nowhere.
    if (index->Count100() < 0) return {};
    const auto count100 = static_cast<std::uint64_t>(index->Count100());
    if (count100 > points) return {};
    cells.cells.reserve(count100);
    bool more = count100 > 0;
    while (more && cells.cells.size() < count100) {
        more = index->ReadIndex1000(0);
        Block block;
        index->GetXYZ1000(block.x, block.y, block.z);
        index->GetOffsetCount1000(block.firstCell, block.cells);
        if (block.firstCell > count100 || block.cells > count100 - block.firstCell) return {};
        // An index that ends early reads on as empty blocks, and a sound one has none.
        if (block.cells == 0) return {};
        index->InitIndex100(block.firstCell);
        block.firstCell = cells.cells.size();
        if (block.cells > count100 - block.firstCell) return {};
        if (!ReadCells(*index, block.cells, points, cells, block)) return {};
        cells.blocks.push_back(block);
    }
    std::uint64_t inCells = 0;
    for (const Block& block : cells.blocks) inCells += block.points;
    if (inCells != points) return {};
    return cells;
}

}  // namespace orvix::detail
