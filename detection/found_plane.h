// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "orvix/geometry/plane_frame.h"
#include "orvix/geometry/plane_outline.h"
#include "orvix/points/records.h"

namespace orvix::detection {

/// What a plane is; plane_search.h says how each kind is decided.
enum class PlaneKind { Floor, Ceiling, Wall, Roof, Other };

/// One plane of a project, with its points counted and its outline drawn.
///
/// Units  metres, project frame; `outline` in the 2D coordinates of `frame`.
/// Shape  `normal` points to the side that PlaneSearch promises; `frame` keeps the direction of the
///        region that the plane grew from, so its own normal may point the other way.
struct FoundPlane {
    SimplePointT<double> normal;  ///< of unit length
    double offset = 0;            ///< normal . p + offset = 0
    SimplePointT<double> centre;  ///< mean of its points
    std::uint64_t points = 0;
    double rms = 0;        ///< of its points' distances from it
    double tolerance = 0;  ///< largest distance of a point from the plane of its cells
    double area = 0;       ///< square metres inside its outline
    PlaneKind kind = PlaneKind::Other;
    /// From 1: planes of one group are pieces of one endless plane, such as the ceilings of the
    /// rooms of a storey.
    std::int32_t group = 0;
    PlaneFrame frame;
    PlaneOutline outline;  ///< `indices` number its own vertices, ring after ring
};

/// A corner of a plane's outline, project frame. The outline is flat in the frame that points were
/// held against; the plane through its points is a hair away, so each corner is brought onto it, along
/// its normal.
inline SimplePointT<double> CornerOf(const FoundPlane& plane,
                                     const SimplePoint2DT<double>& corner) {
    const SimplePointT<double> p = plane.frame.To3D(corner);
    const SimplePointT<double>& n = plane.normal;
    const double away = n.x * p.x + n.y * p.y + n.z * p.z + plane.offset;
    return {p.x - n.x * away, p.y - n.y * away, p.z - n.z * away};
}

}  // namespace orvix::detection
