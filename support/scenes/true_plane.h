// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "orvix/points/records.h"

namespace orvix::test {

/// A plane of a scene, after turning and moving.
struct TruePlane {
    SimplePointT<double> normal;
    double offset = 0;  ///< normal . p + offset = 0
    double area = 0;    ///< square metres
};

/// The truth of a point on no plane: clutter, outliers, mixed pixels.
inline constexpr std::int32_t kNoPlane = -1;
/// The truth of a point that may be on a plane or on none: what a person would not draw and would
/// not miss, such as an edge two centimetres wide.
inline constexpr std::int32_t kUnjudgedPlane = -2;

/// A point of a scan and the plane that it was measured on, or one of the two above.
struct ScannedPoint {
    SimplePointT<double> position;
    std::int32_t plane = kNoPlane;
};

}  // namespace orvix::test
