// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "orvix/planes/fitted_plane.h"
#include "orvix/platform/error.h"
#include "orvix/points/records.h"
#include "orvix/project/transform_file.h"

namespace orvix::detail {

/// Triangles over a list of points.
struct TriangleMesh {
    std::vector<SimplePointT<double>> points;
    std::vector<std::array<std::uint32_t, 3>> triangles;  ///< counter-clockwise from the front
};

/// Every k-th point from the first, with the smallest k that leaves no more than `max`. The outline
/// of a plane with very many points is built from these. Precondition: `max` is above 0.
std::vector<SimplePointT<double>> Thinned(const std::vector<SimplePointT<double>>& points,
                                          std::size_t max);

/// Triangulates a plane's points within its outline and holes.
///
/// `outlinePoints` are the points that the outline was built from, in their order: all of the
/// plane's, or the thinned ones where there are very many.
///
/// Units  the result is in world coordinates.
/// Shape  triangles run counter-clockwise seen from the side that `worldEquation`'s normal points
///        to; only points that a triangle uses are kept, in their order.
/// Errors Cancelled: `proceed` said no; an empty one is not asked.
/// Cost   n log n; about 2 s for a million points.
Expected<TriangleMesh> MeshOfPlane(const FittedPlane& plane,
                                   const std::vector<SimplePointT<double>>& outlinePoints,
                                   const LocalToWorld& frame,
                                   const std::array<double, 4>& worldEquation,
                                   const std::function<bool()>& proceed = {});

}  // namespace orvix::detail
