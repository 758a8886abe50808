// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/mesh/planes_mesh.h"

#include <fmt/format.h>

#include <cmath>

#include "orvix/geometry/polygon_index.h"
#include "orvix/geometry/rings.h"
#include "orvix/geometry/vector.h"
#include "orvix/surfaces/ring_triangles.h"

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
std::vector<std::array<std::uint32_t, 3>> FacesOf(const PlaneOutline& outline) {
    std::vector<std::vector<SimplePoint2DT<double>>> rings;
    detail::ForEachRing(outline, [&](const PlaneRing& ring) { rings.push_back(ring.points); });
    const detail::PolygonIndex index(outline);
    const auto inside = [&](const SimplePoint2DT<double>& p) { return index.Contains(p); };
    return detail::TrianglesOf(rings, inside).triangles;
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
    const bool turned = reports::IsTurned(plane);
    for (std::array<std::uint32_t, 3> triangle : FacesOf(InParts(plane.outline))) {
        for (std::uint32_t& corner : triangle) {
            if (place[corner] == kUnused) {
                place[corner] = static_cast<std::uint32_t>(mesh.points.size());
                mesh.points.push_back(corners[corner]);
            }
            corner = place[corner];
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
