// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/grid/grid_frame.h"

namespace orvix::importer {

GridFrame::GridFrame(const ExtendsT<float>& bounds) : bounds_(bounds) {
    const std::array<float, 3> min{bounds.min.x, bounds.min.y, bounds.min.z};
    const std::array<float, 3> max{bounds.max.x, bounds.max.y, bounds.max.z};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        first_[axis] = detail::CellOf(min[axis]).cell1000;
        cells_[axis] =
            static_cast<std::uint64_t>(detail::CellOf(max[axis]).cell1000 - first_[axis]) + 1;
    }
}

bool GridFrame::Contains(const AlivePoint& point) const {
    return point.x >= bounds_.min.x && point.x <= bounds_.max.x && point.y >= bounds_.min.y &&
           point.y <= bounds_.max.y && point.z >= bounds_.min.z && point.z <= bounds_.max.z;
}

CellPosition GridFrame::PositionOf(const SortKey& key) const {
    const std::array<std::uint64_t, 3> blocks{key.block / cells_[2] / cells_[1],
                                              key.block / cells_[2] % cells_[1],
                                              key.block % cells_[2]};
    CellPosition position;
    std::uint32_t digits = key.inside;
    for (std::size_t axis = 3; axis-- > 0; digits /= 10) {
        position.cell10[axis] = static_cast<std::int8_t>(digits % 10);
    }
    for (std::size_t axis = 3; axis-- > 0; digits /= 10) {
        const auto cell1000 = first_[axis] + static_cast<std::int32_t>(blocks[axis]);
        position.cell100[axis] = cell1000 * 10 + static_cast<std::int32_t>(digits % 10);
    }
    return position;
}

}  // namespace orvix::importer
