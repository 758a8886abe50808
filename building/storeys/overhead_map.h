// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <vector>

#include "building/plan_grid.h"
#include "building/storeys/level_planes.h"

namespace orvix::building {

/// How high the lowest ceiling or roof hangs over each place of a storey.
class OverheadMap {
public:
    /// Planes 1.7 m above the storey's floor and below `under` count.
    OverheadMap(const LevelPlanes& levels, const Storey& storey, double under);

    /// None where none was seen over a place, or over the cells beside it.
    [[nodiscard]] std::optional<double> HeightAt(const PlanPoint& place) const;
    /// That height, or the storey's ceiling.
    [[nodiscard]] double CeilingAt(const PlanPoint& place) const {
        return HeightAt(place).value_or(ceiling_);
    }

private:
    void Add(const LevelPlane& face, double least, double under);

    PlanGrid grid_;
    double ceiling_;
    std::vector<float> heights_;
};

}  // namespace orvix::building
