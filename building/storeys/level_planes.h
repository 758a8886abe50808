// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <cstddef>
#include <vector>

#include "building/building.h"
#include "detection/found_plane.h"

namespace orvix::building {

inline constexpr double kLevel = 0.990268;  ///< cosine of 8 degrees

/// A level or sloping plane as what stands on it or hangs under it sees it.
struct LevelPlane {
    std::size_t plane = 0;        ///< place in the list of planes
    std::vector<PlanRing> rings;  ///< outlines counter-clockwise, holes clockwise
    double area = 0;              ///< of its plan

    SimplePointT<double> normal;
    double offset = 0;
    /// Within 8 degrees.
    [[nodiscard]] bool IsLevel() const { return std::abs(normal.z) >= kLevel; }
    [[nodiscard]] double HeightAt(const PlanPoint& p) const {
        return -(normal.x * p.x + normal.y * p.y + offset) / normal.z;
    }
};

/// The planes of a project that bound storeys: `floors` level and facing up, `ceilings` level and
/// facing down, `slopes` facing down or up, 8 to 80 degrees from level.
struct LevelPlanes {
    std::vector<LevelPlane> floors;
    std::vector<LevelPlane> ceilings;
    std::vector<LevelPlane> lowerSlopes;  ///< facing down: what an attic sees of the roof
    std::vector<LevelPlane> upperSlopes;
};

/// `either`: nobody knows from which side slopes were seen; each is then in both lists.
LevelPlanes LevelPlanesOf(const std::vector<detection::FoundPlane>& planes, bool either);

}  // namespace orvix::building
