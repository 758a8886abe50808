// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "orvix/points/records.h"

namespace orvix {

/// One closed ring of an outline, in the plane's 2D frame (PlaneFrame).
///
/// Shape  a simple polygon; the last vertex joins the first, which is not repeated. Every vertex is
///        one of the points that the outline was built from: `indices[k]` is the place in that list
///        of the point whose 2D position is `points[k]`. No vertex lies exactly on the segment
///        between its two neighbours.
/// Order  outer rings run counter-clockwise, holes clockwise; the first vertex is the one with the
///        smallest x, then the smallest y.
struct PlaneRing {
    std::vector<SimplePoint2DT<double>> points;
    std::vector<std::uint32_t> indices;
};

/// A connected piece of a plane: what lies inside `outer` and not inside any of `holes`.
/// Holes are ordered like regions: largest area first, then by first vertex.
struct PlaneRegion {
    PlaneRing outer;
    std::vector<PlaneRing> holes;
};

/// The extent of a point set in its plane: concave, with holes, in as many pieces as it has.
///
/// Units  metres, square metres.
/// Order  regions by the area inside their outer ring, largest first; equal areas by first vertex.
struct PlaneOutline {
    std::vector<PlaneRegion> regions;
    double area = 0;    ///< of all regions, holes left out
    double radius = 0;  ///< a gap that takes in a circle of this radius is a gap in the outline
};

}  // namespace orvix
