// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/point_assignment.h"

#include <algorithm>

namespace orvix::detection {

void PointAssignment::Gather(std::uint32_t cell, Candidates& candidates) const {
    auto& planes = candidates.planes;
    if (candidates.first.empty()) candidates.first.push_back(0);
    const auto first = static_cast<std::ptrdiff_t>(planes.size());
    std::array<std::uint32_t, 27> around;
    cloud_.grid.Around(cell, around);
    std::int32_t last = kNoRegion;
    for (const std::uint32_t other : around) {
        if (other == kNoCell) continue;
        const std::int32_t plane = ofCell_[other];
        if (plane == last || plane == kNoRegion) continue;
        last = plane;
        if (std::find(planes.begin() + first, planes.end(), plane) == planes.end())
            planes.push_back(plane);
    }
    std::sort(planes.begin() + first, planes.end());
    candidates.first.push_back(static_cast<std::uint32_t>(planes.size()));
}

}  // namespace orvix::detection
