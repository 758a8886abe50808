// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/surfaces/point_cloud_geometrics.h"

#include <cassert>
#include <cmath>
#include <set>
#include <utility>

#include "orvix/geometry/plane_frame.h"
#include "orvix/platform/asker.h"
#include "orvix/surfaces/planar_triangulation.h"
#include "orvix/surfaces/stoppable_surface.h"

namespace orvix {
namespace {

using Kernel = CGAL::Epick;
using VertexHandle = PlanarTriangulation::Vertex_handle;

bool IsFinite(double s, double t) {
    return std::isfinite(s) && std::isfinite(t);
}

constexpr std::uint32_t kInsertionsPerQuestion = 4096;  // some milliseconds
constexpr std::uint32_t kSegmentsPerQuestion = 64;      // a long one crosses many triangles

bool InsertPolyline(PlanarTriangulation& triangulation, const PlaneFrame& frame,
                    const std::vector<SimplePointT<double>>& boundary,
                    const std::function<bool()>& proceed) {
    detail::Asker asker(proceed, kSegmentsPerQuestion);
    const auto insert = [&](const SimplePointT<double>& p) {
        const SimplePoint2DT<double> flat = frame.To2D(p);
        return IsFinite(flat.x, flat.y) ? triangulation.insert(Kernel::Point_2(flat.x, flat.y))
                                        : VertexHandle();
    };
    for (std::size_t k = 1; k < boundary.size(); ++k) {  // BEHAVIOUR S4
        if (!asker.GoesOn()) return false;
        const VertexHandle from = insert(boundary[k - 1]);
        const VertexHandle to = insert(boundary[k]);
        if (from == VertexHandle() || to == VertexHandle() || from == to) continue;
        triangulation.insert_constraint(from, to);
    }
    return true;
}

// The planar position itself, with the signed distance of (s, t, 0) from the plane as height.
// BEHAVIOUR S2
SimplePointT<double> AppendedPoint(const PlaneFrame& frame, double s, double t) {
    return {s, t, (frame.A() * s + frame.B() * t + frame.D()) / frame.NormalLength()};
}

}  // namespace

void PointCloudGeometrics::Surface(const std::vector<SimplePointT<double>>& points,
                                   const CGAL::Plane_3<CGAL::Epick>& plane,
                                   std::vector<int>& faces) {
    PlanarTriangulation triangulation;
    std::set<std::pair<double, double>> taken;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const Kernel::Point_2 flat =
            plane.to_2d(Kernel::Point_3(points[i].x, points[i].y, points[i].z));
        if (!IsFinite(flat.x(), flat.y())) continue;
        if (!taken.emplace(flat.x(), flat.y()).second) continue;  // BEHAVIOUR S1
        triangulation.insert(flat)->index = static_cast<std::int32_t>(i);
    }
    ExtractSurfaceFaces(triangulation, faces);
}

void PointCloudGeometrics::ConstrainedSurface(std::vector<SimplePointT<double>>& points,
                                              const CGAL::Plane_3<CGAL::Epick>& plane,
                                              std::vector<int>& faces,
                                              const std::vector<SimplePointT<double>>* boundary) {
    assert(boundary != nullptr);
    const PlaneFrame frame(plane.a(), plane.b(), plane.c(), plane.d());
    static_cast<void>(detail::ConstrainedSurfaceWhile(points, frame, faces, *boundary, {}));
}

bool detail::ConstrainedSurfaceWhile(std::vector<SimplePointT<double>>& points,
                                     const PlaneFrame& frame, std::vector<int>& faces,
                                     const std::vector<SimplePointT<double>>& boundary,
                                     const std::function<bool()>& proceed) {
    PlanarTriangulation triangulation;
    Asker asker(proceed, kInsertionsPerQuestion);
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (!asker.GoesOn()) return false;
        const SimplePoint2DT<double> flat = frame.To2D(points[i]);
        if (!IsFinite(flat.x, flat.y)) continue;
        triangulation.insert(Kernel::Point_2(flat.x, flat.y))->index = static_cast<std::int32_t>(i);
    }
    if (!InsertPolyline(triangulation, frame, boundary, proceed)) return false;

    for (const auto face : triangulation.finite_face_handles()) {
        faces.push_back(3);
        for (int corner = 0; corner < 3; ++corner) {
            const VertexHandle vertex = face->vertex(corner);
            if (vertex->index < 0) {
                vertex->index = static_cast<std::int32_t>(points.size());
                points.push_back(AppendedPoint(frame, vertex->point().x(), vertex->point().y()));
            }
            faces.push_back(vertex->index);
        }
    }
    return true;
}

void PointCloudGeometrics::ExtractSurfaceFaces(const PlanarTriangulation& triangulation,
                                               std::vector<int>& faces) {
    for (const auto face : triangulation.finite_face_handles()) {
        faces.push_back(3);
        for (int corner = 0; corner < 3; ++corner) faces.push_back(face->vertex(corner)->index);
    }
}

bool PointCloudGeometrics::isInPolygonCGAL(const CGAL::Point_2<CGAL::Epick>& p,
                                           const CGAL::Polygon_2<CGAL::Epick>& polygon) {
    return CGAL::bounded_side_2(polygon.vertices_begin(), polygon.vertices_end(), p, Kernel()) !=
           CGAL::ON_UNBOUNDED_SIDE;
}

CGAL::Polygon_2<CGAL::Epick> PointCloudGeometrics::ptArrToCGPolygon(
    const std::vector<CGAL::Point_2<CGAL::Epick>>& points) {
    return {points.begin(), points.end()};
}

double PointCloudGeometrics::Angle(const CGAL::Vector_3<CGAL::Epick>& a,
                                   const CGAL::Vector_3<CGAL::Epick>& b) {
    const double lengthA = std::sqrt(a.squared_length());
    const double lengthB = std::sqrt(b.squared_length());
    if (lengthA == 0 || lengthB == 0) return 0.0;
    return std::acos(lengthB * ((a * b) / lengthA));  // BEHAVIOUR S5
}

void PointCloudGeometrics::Polar(const double& angle, const double& radius,
                                 const SimplePoint2DT<double>& centre,
                                 SimplePoint2DT<double>& result) {
    result = {std::cos(angle) * radius + centre.x, std::sin(angle) * radius + centre.y};
}

void PointCloudGeometrics::CalcMiddlePoint(const SimplePointT<double>* a,
                                           const SimplePointT<double>* b,
                                           SimplePointT<double>* result) {
    *result = {(a->x + b->x) * 0.5, (a->y + b->y) * 0.5, (a->z + b->z) * 0.5};
}

}  // namespace orvix
