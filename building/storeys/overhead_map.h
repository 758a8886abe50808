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

    /// The plane that hangs lowest over a place; none where none was seen over it or over the two
    /// cells of 10 cm around it, or over as few as `around` says.
    [[nodiscard]] const LevelPlane* FaceAt(const PlanPoint& place, std::int64_t around = 2) const;
    /// How high that plane is over the place.
    [[nodiscard]] std::optional<double> HeightAt(const PlanPoint& place) const;

private:
    void Add(std::int32_t face, double least, double under);

    std::vector<const LevelPlane*> faces_;  // of `levels`, which must outlive this
    PlanGrid grid_;
    std::vector<std::int32_t> lowest_;  // of each cell, a place in faces_; -1: none
};

}  // namespace orvix::building
