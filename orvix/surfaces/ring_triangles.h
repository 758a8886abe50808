// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <vector>

#include "orvix/points/records.h"

namespace orvix::detail {

/// Triangles over the corners of rings.
struct RingTriangles {
    /// The rings' corners in their order, then the places where sides of theirs cross.
    std::vector<SimplePoint2DT<double>> points;
    std::vector<std::array<std::uint32_t, 3>> triangles;  ///< counter-clockwise
};

/// Triangulates what rings enclose, as far as `inside` says.
///
///     const PolygonIndex region(outline);
///     const auto mesh = TrianglesOf(rings, [&](const auto& p) { return region.Contains(p); });
///
/// The rings' sides are edges of the triangles, and divide the plane into pieces; `inside` is asked
/// once a piece, for a place well within it. So a corner that lies on another side but for rounding
/// spoils nothing: the rim of what is kept consists of the rings' sides, piece by piece.
///
/// Shape      of corners at one place the triangles name the first.
/// Order      of triangles: a function of the rings alone.
/// Boundaries what no ring encloses is outside unasked. Coordinates must be finite.
/// Cost       n log n of the corners.
RingTriangles TrianglesOf(const std::vector<std::vector<SimplePoint2DT<double>>>& rings,
                          const std::function<bool(const SimplePoint2DT<double>&)>& inside);

}  // namespace orvix::detail
