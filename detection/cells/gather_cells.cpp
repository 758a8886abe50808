// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/cells/gather_cells.h"

#include <fmt/format.h>

#include "detection/cells/cell_runs.h"

namespace orvix::detection {
namespace {

tl::unexpected<Error> NoFinitePlace(std::uint64_t record) {
    return Fail(
        ErrorCode::Damaged,
        fmt::format("record {} has no finite place; check the project or import it again", record));
}

tl::unexpected<Error> OutsideItsCell(std::uint64_t record) {
    return Fail(ErrorCode::Damaged,
                fmt::format("record {} lies outside the 100 cm cell that leads to it; check the "
                            "project or import it again",
                            record));
}

bool InTile(const CellFrame& frame, const CellPlace& place, const CellPlace& origin) {
    for (std::size_t axis = 0; axis < 3; ++axis)
        if (place[axis] < origin[axis] || place[axis] - origin[axis] >= frame.PerTile(axis))
            return false;
    return true;
}

}  // namespace

Expected<CellSums> GatherCells(CAlivePointReader& reader, const PointChunk& chunk,
                               const CellFrame& frame, const CellPlace& origin) {
    const Vector middle = TileCells::MiddleOf(frame, origin);
    CellNumbering numbering(frame);
    CellSums cells;
    std::uint64_t record = chunk.first;
    Expected<void> fault;  // the first
    const auto check = [&](std::uint32_t cell) {
        if (!fault) return false;
        if (cell == kNoCell) {
            fault = NoFinitePlace(record);
        } else if (numbering.IsNew() && !InTile(frame, numbering.Place(), origin)) {
            fault = OutsideItsCell(record);
        }
        return fault.has_value();
    };
    const auto take = [&](std::span<const CCloudPoint<float>> points, std::uint32_t cell) {
        if (!check(cell)) return;
        if (numbering.IsNew()) {
            cells.keys.push_back(KeyOf(numbering.Place(), origin));
            cells.sums.emplace_back();
            cells.boxes.emplace_back();
        }
        MomentSum sum = cells.sums[cell];
        CellBox box = cells.boxes[cell];
        for (const auto& p : points) {
            const Vector at = Vector{p.x, p.y, p.z} - middle;
            sum.Add(at);
            box.Add(at);
        }
        cells.sums[cell] = sum;
        cells.boxes[cell] = box;
        record += points.size();
    };
    if (auto read = ForEachCellRun(reader, chunk, numbering, take); !read) return ErrorOf(read);
    if (!fault) return ErrorOf(fault);
    return cells;
}

}  // namespace orvix::detection
