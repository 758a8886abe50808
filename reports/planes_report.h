// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <string>
#include <vector>

#include "detection/plane_search.h"
#include "orvix/project/transform_file.h"

namespace orvix::reports {

/// A plane as people get it: numbered from 1, in world coordinates.
struct WorldPlane {
    using Ring = std::vector<SimplePointT<double>>;
    struct Region {
        Ring outer;
        std::vector<Ring> holes;
    };

    std::size_t number = 0;
    std::string kind;                  ///< floor, ceiling, wall, roof, other
    std::array<double, 4> equation{};  ///< unit normal and d
    SimplePointT<double> centroid;
    std::uint64_t points = 0;
    double rms = 0;
    double tolerance = 0;  ///< metres: largest distance of a point from the plane of its cells
    double area = 0;
    std::vector<Region> regions;  ///< counter-clockwise seen from where the normal points
};

std::vector<WorldPlane> WorldPlanesOf(const detection::PlaneSearch& search,
                                      const detail::LocalToWorld& frame);

/// A corner of a plane's outline, project frame. The outline is flat in the frame that points were
/// held against; the plane through its points is a hair away, so each corner is brought onto it.
SimplePointT<double> CornerOf(const detection::FoundPlane& plane,
                              const SimplePoint2DT<double>& corner);

/// Whether the outline runs clockwise seen from where the plane's normal points.
bool IsTurned(const detection::FoundPlane& plane);

}  // namespace orvix::reports
