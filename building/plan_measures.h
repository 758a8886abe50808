// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <cstddef>

#include "building/building.h"
#include "building/plan_length.h"

namespace orvix::building {

/// What a ring of a plan encloses, whichever way it runs (AreaOf of plan_grid.h has a sign).
inline double AreaWithin(const PlanRing& ring) {
    double twice = 0;
    for (std::size_t i = 0; i < ring.size(); ++i) {
        const PlanPoint &a = ring[i], &b = ring[(i + 1) % ring.size()];
        twice += (a.x - ring[0].x) * (b.y - ring[0].y) - (a.y - ring[0].y) * (b.x - ring[0].x);
    }
    return std::abs(twice) / 2;
}

/// Once around.
inline double LengthOf(const PlanRing& ring) {
    double length = 0;
    for (std::size_t i = 0; i < ring.size(); ++i) {
        const PlanPoint &a = ring[i], &b = ring[(i + 1) % ring.size()];
        length += PlanLength(b.x - a.x, b.y - a.y);
    }
    return length;
}

/// Of a piece of a plan, without its holes.
inline double NetAreaOf(const PlanRegion& region) {
    double area = AreaWithin(region.outer);
    for (const PlanRing& hole : region.holes) area -= AreaWithin(hole);
    return area;
}

}  // namespace orvix::building
