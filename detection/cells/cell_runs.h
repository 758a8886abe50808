// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

#include "detection/cells/cell_numbering.h"
#include "detection/cells/point_chunks.h"
#include "orvix/points/alive_point_reader.h"

namespace orvix::detection {

/// The number of points without a cell: those without a finite place.
inline constexpr std::uint32_t kNoCell = ~std::uint32_t{0};

/// Reads a chunk's points in blocks of 4096, in the order of the file: use(points) for each.
///
/// Errors  Failure where the points cannot be mapped.
/// Cost    one copy per point.
template <class Use>
[[nodiscard]] Expected<void> ForEachBlock(CAlivePointReader& reader, const PointChunk& chunk,
                                          Use&& use) {
    constexpr std::uint64_t kBlock = 4096;  // points: what fits into the second cache
    std::vector<CCloudPoint<float>> points;
    points.reserve(std::min(kBlock, chunk.count));
    for (std::uint64_t done = 0; done < chunk.count; done += points.size()) {
        const auto wanted = static_cast<std::uint32_t>(std::min(kBlock, chunk.count - done));
        points.clear();
        reader.ReadIndexPoints(chunk.first + done, wanted, points);
        if (points.size() != wanted) return PointsNotMapped();
        use(std::span<const CCloudPoint<float>>(points));
    }
    return {};
}

/// Splits points into stretches that lie in one cell, in their order: use(points, cell) for each;
/// cells are numbered as CellNumbering does.
///
/// Cost  six comparisons per point.
template <class Use>
void ForEachCellRun(std::span<const CCloudPoint<float>> points, CellNumbering& numbering,
                    Use&& use) {
    for (std::size_t first = 0; first < points.size();) {
        const bool placed = CellFrame::Holds(points[first]);
        const std::uint32_t cell = placed ? numbering.NumberOf(points[first]) : kNoCell;
        std::size_t last = first + 1;
        if (placed)
            while (last < points.size() && numbering.Stays(points[last])) ++last;
        use(points.subspan(first, last - first), cell);
        first = last;
    }
}

/// The same for a whole chunk. Errors and cost as of ForEachBlock.
template <class Use>
[[nodiscard]] Expected<void> ForEachCellRun(CAlivePointReader& reader, const PointChunk& chunk,
                                            CellNumbering& numbering, Use&& use) {
    return ForEachBlock(reader, chunk, [&](std::span<const CCloudPoint<float>> points) {
        ForEachCellRun(points, numbering, use);
    });
}

}  // namespace orvix::detection
