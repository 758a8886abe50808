// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>

#include "building/building.h"

namespace orvix::building {

/// Metres from a wall's start to its end.
inline double LengthOf(const Wall& wall) {
    const double x = wall.axis[1].x - wall.axis[0].x, y = wall.axis[1].y - wall.axis[0].y;
    return std::sqrt(x * x + y * y);
}

/// The way along a wall, of length one; its left is (-y, x). Precondition: it has a length.
inline PlanPoint DirectionOf(const Wall& wall) {
    const double length = LengthOf(wall);
    return {(wall.axis[1].x - wall.axis[0].x) / length, (wall.axis[1].y - wall.axis[0].y) / length};
}

/// A place of a wall: metres along its axis, metres to the left of it, height.
inline SimplePointT<double> PlaceIn(const Wall& wall, double along, double left, double z) {
    const PlanPoint way = DirectionOf(wall);
    return {wall.axis[0].x + along * way.x - left * way.y,
            wall.axis[0].y + along * way.y + left * way.x, z};
}

}  // namespace orvix::building
