// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <vector>

#include "orvix/geometry/plane_frame.h"
#include "orvix/geometry/plane_outline.h"
#include "orvix/platform/export.h"
#include "orvix/points/records.h"

namespace orvix {

/// Functions that make a plane's mesh, with its outline and holes, ready for a file.
///
/// They finish what PointCloudGeometrics::ConstrainedSurface begins.
///
///     auto points = plane.data();
///     const auto given = points.size();
///     const auto boundary = BoundaryOf(points, plane.Outline().regions[0].outer);
///     PointCloudGeometrics::ConstrainedSurface(points, {a, b, c, d}, faces, &boundary);
///     LiftPlanarVertices(points, given, plane.Frame());
///     faces = FacesInsideOutline(points, faces, plane.Frame(), plane.Outline());
///
/// Units   metres.
/// Shape   faces are four ints each: 3 and three places in `points`.
/// Errors  none are reported.
/// Threads free functions without state.

/// The ring's own points out of the list that the outline was built from, the first one repeated
/// at the end: a closed boundary whose 2D positions are, bit for bit, those of the points.
ORVIX_API std::vector<SimplePointT<double>> BoundaryOf(
    const std::vector<SimplePointT<double>>& points, const PlaneRing& ring);

/// Lays the points from `firstAppended` on, which ConstrainedSurface appended as 2D positions
/// (x = s, y = t), onto the plane of `frame`. Call it once.
ORVIX_API void LiftPlanarVertices(std::vector<SimplePointT<double>>& points,
                                  std::size_t firstAppended, const PlaneFrame& frame);

/// The faces whose centroid lies inside the outline (in a region, in none of its holes), in their
/// order. `points` are in 3D: lift appended ones first. A face of an outline's own points is wholly
/// inside or wholly outside when its rings are edges of the mesh, which rings of a Delaunay
/// triangulation's points are.
/// Cost: at most n log n; a few edges per face.
ORVIX_API std::vector<int> FacesInsideOutline(const std::vector<SimplePointT<double>>& points,
                                              const std::vector<int>& faces,
                                              const PlaneFrame& frame, const PlaneOutline& outline);

}  // namespace orvix
