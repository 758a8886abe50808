// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/surfaces/point_cloud_geometrics.h"

#include <cassert>
#include <cmath>
#include <optional>
#include <utility>

#include "orvix/geometry/plane_frame.h"
#include "orvix/platform/asker.h"
#include "orvix/surfaces/delaunay_edges.h"
#include "orvix/surfaces/planar_sites.h"
#include "orvix/surfaces/planar_triangulation.h"
#include "orvix/surfaces/site_triangulation.h"
#include "orvix/surfaces/stoppable_surface.h"

namespace orvix {
namespace {

using Kernel = CGAL::Epick;
using detail::DelaunayEdges, detail::PlanarSites, detail::SiteTriangulation;
using VertexHandle = SiteTriangulation::Vertex_handle;

constexpr std::uint32_t kSegmentsPerQuestion = 64;  // a long one crosses many triangles

PlanarSites SitesIn(const CGAL::Plane_3<Kernel>& plane,
                    const std::vector<SimplePointT<double>>& points) {
    std::vector<SimplePoint2DT<double>> flat;
    flat.reserve(points.size());
    for (const SimplePointT<double>& p : points) {
        const Kernel::Point_2 q = plane.to_2d(Kernel::Point_3(p.x, p.y, p.z));
        flat.push_back({q.x(), q.y()});
    }
    return detail::SitesOf(flat, detail::Coinciding::First);  // BEHAVIOUR S1
}

PlanarSites SitesIn(const PlaneFrame& frame, const std::vector<SimplePointT<double>>& points) {
    std::vector<SimplePoint2DT<double>> flat;
    flat.reserve(points.size());
    for (const SimplePointT<double>& p : points) flat.push_back(frame.To2D(p));
    return detail::SitesOf(flat, detail::Coinciding::Last);  // BEHAVIOUR S1
}

void AppendTriangles(const DelaunayEdges& edges, const std::vector<std::uint32_t>& sources,
                     std::vector<int>& faces) {
    edges.ForEachTriangle([&](DelaunayEdges::Edge edge) {
        const auto [a, b, c] = edges.CornersOf(edge);
        faces.insert(faces.end(), {3, static_cast<int>(sources[a]), static_cast<int>(sources[b]),
                                   static_cast<int>(sources[c])});
    });
}

/// Inserts a polyline's corners, each from where the last one was found, and its segments.
class PolylineInserter {
public:
    PolylineInserter(SiteTriangulation& triangulation, const PlaneFrame& frame)
        : triangulation_(triangulation), frame_(frame) {}

    bool Insert(const std::vector<SimplePointT<double>>& boundary,
                const std::function<bool()>& proceed) {
        detail::Asker asker(proceed, kSegmentsPerQuestion);
        for (std::size_t k = 1; k < boundary.size(); ++k) {  // BEHAVIOUR S4
            if (!asker.GoesOn()) return false;
            const VertexHandle from = InsertCorner(boundary[k - 1]);
            const VertexHandle to = InsertCorner(boundary[k]);
            if (from == VertexHandle() || to == VertexHandle() || from == to) continue;
            triangulation_.insert_constraint(from, to);
        }
        return true;
    }

private:
    VertexHandle InsertCorner(const SimplePointT<double>& p) {
        const SimplePoint2DT<double> flat = frame_.To2D(p);
        if (!std::isfinite(flat.x) || !std::isfinite(flat.y)) return {};
        const auto near =
            last_ == VertexHandle() ? SiteTriangulation::Face_handle() : last_->face();
        last_ = triangulation_.insert(Kernel::Point_2(flat.x, flat.y), near);
        return last_;
    }

    SiteTriangulation& triangulation_;
    const PlaneFrame& frame_;
    VertexHandle last_;
};

// The planar position itself, with the signed distance of (s, t, 0) from the plane as height.
// BEHAVIOUR S2
SimplePointT<double> AppendedPoint(const PlaneFrame& frame, double s, double t) {
    return {s, t, (frame.A() * s + frame.B() * t + frame.D()) / frame.NormalLength()};
}

void AppendFaces(const SiteTriangulation& triangulation, const PlaneFrame& frame,
                 std::vector<SimplePointT<double>>& points, std::vector<int>& faces) {
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
}

}  // namespace

void PointCloudGeometrics::Surface(const std::vector<SimplePointT<double>>& points,
                                   const CGAL::Plane_3<CGAL::Epick>& plane,
                                   std::vector<int>& faces) {
    const PlanarSites sites = SitesIn(plane, points);  // BEHAVIOUR S1
    AppendTriangles(*DelaunayEdges::Of(sites, {}), sites.sources, faces);
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
    PlanarSites sites = SitesIn(frame, points);
    std::optional<DelaunayEdges> edges = DelaunayEdges::Of(sites, proceed);
    if (!edges) return false;
    if (boundary.size() < 2) {
        AppendTriangles(*edges, sites.sources, faces);
        return true;
    }
    SiteTriangulation triangulation;
    if (!FillTriangulation(std::move(sites), std::move(*edges), proceed, triangulation))
        return false;
    if (!PolylineInserter(triangulation, frame).Insert(boundary, proceed)) return false;
    AppendFaces(triangulation, frame, points, faces);
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
