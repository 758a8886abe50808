// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

#include "detection/cells/cell_frame.h"
#include "detection/cells/point_chunks.h"

namespace orvix::detection {

/// The number of what has no cell: points without a finite place.
inline constexpr std::uint32_t kNoCell = ~std::uint32_t{0};

/// Reads a chunk and calls use(points, cell) for stretches of points of one cell, in the order of
/// the file; cells are numbered as CellNumbering does. False where the points cannot be mapped.
///
/// Cost  a copy of a point and six comparisons.
template <class Use>
[[nodiscard]] bool ForEachCellRun(CAlivePointReader& reader, const PointChunk& chunk,
                                  CellNumbering& numbering, Use&& use) {
    constexpr std::uint64_t kBlock = 4096;  // points: what fits into the second cache
    std::vector<CCloudPoint<float>> points;
    points.reserve(std::min(kBlock, chunk.count));
    for (std::uint64_t done = 0; done < chunk.count; done += points.size()) {
        const auto wanted = static_cast<std::uint32_t>(std::min(kBlock, chunk.count - done));
        points.clear();
        reader.ReadIndexPoints(chunk.first + done, wanted, points);
        if (points.size() != wanted) return false;
        for (std::size_t first = 0; first < points.size();) {
            const bool placed = CellFrame::Holds(points[first]);
            const std::uint32_t cell = placed ? numbering.NumberOf(points[first]) : kNoCell;
            std::size_t last = first + 1;
            if (placed)
                while (last < points.size() && numbering.Stays(points[last])) ++last;
            use(std::span<const CCloudPoint<float>>(points.data() + first, last - first), cell);
            first = last;
        }
    }
    return true;
}

}  // namespace orvix::detection
