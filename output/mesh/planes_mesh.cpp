// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/mesh/planes_mesh.h"

#include <fmt/format.h>

#include <cmath>

#include "orvix/geometry/rings.h"
#include "orvix/geometry/vector.h"
#include "orvix/surfaces/planar_triangulation.h"
#include "orvix/surfaces/point_cloud_geometrics.h"
#include "orvix/surfaces/surface_mesh.h"

namespace orvix::output {

namespace {

using detail::Vector;
using detection::FoundPlane;

constexpr std::uint32_t kUnused = ~std::uint32_t{0};

// The same outline counted from its first corner in 256ths of a pixel: whole numbers, so that
// corners of one line along the pixels are exactly on it, and no triangle lies between them.
PlaneOutline InParts(const PlaneOutline& outline) {
    PlaneOutline parts = outline;
    const SimplePoint2DT<double> zero = outline.regions[0].outer.points[0];
    const double part = outline.radius / 256;
    const auto count = [&](PlaneRing& ring) {
        for (auto& p : ring.points)
            p = {std::round((p.x - zero.x) / part), std::round((p.y - zero.y) / part)};
    };
    detail::ForEachRing(parts, count);
    return parts;
}

// Triangles of an outline's corners, by their place in its order, with every ring's sides as edges.
std::vector<int> FacesOf(const PlaneOutline& outline) {
    PlanarTriangulation triangulation;
    std::vector<Vector> corners;
    const PlaneFrame level(0, 0, 1, 0);
    detail::ForEachRing(outline, [&](const PlaneRing& ring) {
        std::vector<PlanarTriangulation::Vertex_handle> vertices;
        for (const auto& p : ring.points) {
            vertices.push_back(triangulation.insert({p.x, p.y}));
            if (vertices.back()->index < 0)
                vertices.back()->index = static_cast<std::int32_t>(corners.size());
            corners.push_back(level.To3D(p));
        }
        for (std::size_t i = 0; i < vertices.size(); ++i)
            triangulation.insert_constraint(vertices[i], vertices[(i + 1) % vertices.size()]);
    });
    std::vector<int> faces;
    PointCloudGeometrics::ExtractSurfaceFaces(triangulation, faces);
    return FacesInsideOutline(corners, faces, level, outline);
}

void AddFaces(const FoundPlane& plane, const detail::LocalToWorld& frame,
              detail::TriangleMesh& mesh) {
    if (plane.outline.regions.empty()) return;
    std::vector<Vector> corners;
    detail::ForEachRing(plane.outline, [&](const PlaneRing& ring) {
        for (const auto& p : ring.points)
            corners.push_back(frame.ToWorld(detection::CornerOf(plane, p)));
    });
    std::vector<std::uint32_t> place(corners.size(), kUnused);
    const std::vector<int> faces = FacesOf(InParts(plane.outline));
    const bool turned = reports::IsTurned(plane);
    for (std::size_t at = 0; at + 3 < faces.size(); at += 4) {
        std::array<std::uint32_t, 3> triangle{};
        for (std::size_t k = 0; k < 3; ++k) {
            const auto i = static_cast<std::size_t>(faces[at + 1 + k]);
            if (place[i] == kUnused) {
                place[i] = static_cast<std::uint32_t>(mesh.points.size());
                mesh.points.push_back(corners[i]);
            }
            triangle[k] = place[i];
        }
        if (turned) std::swap(triangle[1], triangle[2]);
        mesh.triangles.push_back(triangle);
    }
}

}  // namespace

PlanesMesh MeshOfPlanes(const std::vector<FoundPlane>& found, const detail::LocalToWorld& frame,
                        const std::vector<reports::WorldPlane>& planes) {
    PlanesMesh all;
    for (std::size_t i = 0; i < planes.size(); ++i) {
        all.parts.push_back({all.mesh.triangles.size(),
                             fmt::format("plane_{}_{}", planes[i].number, planes[i].kind)});
        AddFaces(found[i], frame, all.mesh);
    }
    return all;
}

PlanesMesh MeshOfPlanes(const detection::PlaneSet& set, const detail::LocalToWorld& frame,
                        const std::vector<reports::WorldPlane>& planes) {
    return MeshOfPlanes(set.Planes(), frame, planes);
}

}  // namespace orvix::output
