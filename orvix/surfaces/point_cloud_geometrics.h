// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>
#include <CGAL/Polygon_2.h>

#include <vector>

#include "orvix/platform/export.h"
#include "orvix/points/records.h"

namespace orvix {

class PlanarTriangulation;

/// Turns the points of one plane into triangles, and a few helpers of plane geometry.
///
/// `Surface` triangulates points alone; take `ConstrainedSurface` where a boundary must appear as
/// edges of the mesh. Both list every triangle of the points' convex hull: what lies outside an
/// outline is removed by FacesInsideOutline (surface_mesh.h), which also puts the vertices that
/// ConstrainedSurface appends onto the plane.
///
///     std::vector<int> faces;                                    // 3, i, j, k, 3, i, j, k, ...
///     PointCloudGeometrics::Surface(points, CGAL::Plane_3<CGAL::Epick>(0, 0, 1, -2), faces);
///
/// Units      those of the points; angles in radians.
/// Shape      four ints a triangle: the count 3, then three places in the point list,
///            counter-clockwise in the plane's 2D coordinates. Face lists are appended to.
/// Order      of faces: the triangulation's own, the same for the same input; nothing to rely on.
///            Which triangles there are does not depend on the list's order, four points on one circle
///            included (BEHAVIOUR S6).
/// Boundaries fewer than three distinct points, or points on one line, give no triangle. A point
///            without a finite 2D position is left out of the triangulation.
/// Errors     none are reported. Allocation failures propagate.
/// Threads    no state; calls may run side by side.
/// Cost       n log n; a million random points take 0.4 s and 170 MB, with a boundary 0.6 s and 260 MB.
class ORVIX_API PointCloudGeometrics {
public:
    PointCloudGeometrics() {}
    PointCloudGeometrics(const PointCloudGeometrics&) {}
    PointCloudGeometrics(PointCloudGeometrics&&) noexcept {}
    ~PointCloudGeometrics() {}
    PointCloudGeometrics& operator=(const PointCloudGeometrics&) { return *this; }
    PointCloudGeometrics& operator=(PointCloudGeometrics&&) noexcept { return *this; }

    /// Triangulates `points` in the 2D coordinates of the plane as the kernel maps them
    /// (Plane_3::to_2d). Of several points at one 2D position the first one is the vertex and the
    /// others are in no triangle.
    static void Surface(const std::vector<SimplePointT<double>>& points,
                        const CGAL::Plane_3<CGAL::Epick>& plane, std::vector<int>& faces);

    /// Triangulates `points` in the 2D coordinates of PlaneFrame, with the segments of the open
    /// polyline `boundary` as edges; repeat its first point at its end to close it.
    ///
    /// Of several points at one 2D position the last one is the vertex. A boundary position that
    /// is no point of the list, and a place where boundary segments cross, become new vertices:
    /// they are appended to `points` in the order in which the faces first meet them, each as its
    /// 2D position (s, t) with the signed distance of (s, t, 0) from the plane:
    /// x = s, y = t, z = (a*s + b*t + d) / |(a, b, c)|. So a caller who knows how many points there
    /// were finds the new ones behind them and reads their 2D position without a frame;
    /// LiftPlanarVertices lays them on the plane for display.
    ///
    /// Boundaries `boundary` must not be null; with fewer than two points it changes nothing.
    static void ConstrainedSurface(std::vector<SimplePointT<double>>& points,
                                   const CGAL::Plane_3<CGAL::Epick>& plane, std::vector<int>& faces,
                                   const std::vector<SimplePointT<double>>* boundary);

    /// Appends every finite face of the triangulation, by the indices of its vertices.
    /// The triangulation's type is in planar_triangulation.h.
    static void ExtractSurfaceFaces(const PlanarTriangulation& triangulation,
                                    std::vector<int>& faces);

    /// True for a position inside the polygon or on its boundary, decided exactly.
    /// The polygon is simple. Cost: linear in its size; detail::PolygonIndex serves many queries.
    static bool isInPolygonCGAL(const CGAL::Point_2<CGAL::Epick>& p,
                                const CGAL::Polygon_2<CGAL::Epick>& polygon);

    /// The polygon with these vertices, in this order.
    static CGAL::Polygon_2<CGAL::Epick> ptArrToCGPolygon(
        const std::vector<CGAL::Point_2<CGAL::Epick>>& points);

    /// acos(|b| * ((a.b) / |a|)), and 0 where either length is 0: the angle between `a` and the
    /// unit vector `b`. The length of `b` is a factor, so a `b` of another length than 1 gives no
    /// angle; an argument of acos outside -1..1 gives NaN.
    static double Angle(const CGAL::Vector_3<CGAL::Epick>& a, const CGAL::Vector_3<CGAL::Epick>& b);

    /// The position at `radius` from `centre` in direction `angle` (radians from the x axis).
    static void Polar(const double& angle, const double& radius,
                      const SimplePoint2DT<double>& centre, SimplePoint2DT<double>& result);

    /// (a + b) * 0.5 in each coordinate; `result` may be `a` or `b`.
    static void CalcMiddlePoint(const SimplePointT<double>* a, const SimplePointT<double>* b,
                                SimplePointT<double>* result);
};

}  // namespace orvix
