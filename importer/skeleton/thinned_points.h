// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "importer/grid/grid_frame.h"
#include "orvix/points/attributes.h"
#include "orvix/points/records.h"

namespace orvix::importer {

/// A 100 cm cell, its points, and those of them that are in the skeleton.
struct ThinnedCell {
    std::array<std::int32_t, 3> cell{};
    std::uint64_t alive = 0;
    std::uint32_t points = 0;
};

/// Skeleton points of a stretch of Grid.pts, as the skeleton's files hold them.
///
/// Order  that of Grid.pts's cells; of a 100 cm cell that the stretch cuts through, a part.
struct ThinnedPoints {
    std::vector<SimplePointT<float>> coordinates;
    std::vector<CPointDataFull> data;
    std::vector<ThinnedCell> cells;

    void Clear() {
        coordinates.clear();
        data.clear();
        cells.clear();
    }
    /// The next points are in this cell, which may be the last one.
    void Open(const std::array<std::int32_t, 3>& cell) {
        if (cells.empty() || cells.back().cell != cell) cells.push_back({cell, 0, 0});
    }
    /// Adds what was chosen among the next `alive` points of the open cell.
    void Add(std::uint64_t alive, std::span<const AlivePoint> chosen) {
        cells.back().alive += alive;
        cells.back().points += static_cast<std::uint32_t>(chosen.size());
        for (const AlivePoint& point : chosen) {
            coordinates.push_back({point.x, point.y, point.z});
            data.push_back(detail::SkeletonDataOf(point));
        }
    }
};

}  // namespace orvix::importer
