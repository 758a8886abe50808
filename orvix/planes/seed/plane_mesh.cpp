// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/planes/seed/plane_mesh.h"

#include <algorithm>
#include <utility>

#include "orvix/points/thinning.h"
#include "orvix/surfaces/stoppable_surface.h"
#include "orvix/surfaces/surface_mesh.h"

namespace orvix::detail {

namespace {

using Points = std::vector<SimplePointT<double>>;

constexpr std::uint32_t kUnused = ~std::uint32_t{0};

Points BoundaryOfLargest(const FittedPlane& plane, const Points& points) {
    const PlaneOutline& outline = plane.Outline();
    return outline.regions.empty() ? Points{} : BoundaryOf(points, outline.regions[0].outer);
}

// Whether the plane's own normal and the world equation's point to opposite sides.
bool Opposed(const PlaneFrame& own, const LocalToWorld& frame,
             const std::array<double, 4>& equation) {
    const SimplePointT<double>& n = own.Normal();
    const SimplePointT<double> from = frame.ToWorld(SimplePointT<double>{});
    const SimplePointT<double> to = frame.ToWorld(n);
    return equation[0] * (to.x - from.x) + equation[1] * (to.y - from.y) +
               equation[2] * (to.z - from.z) <
           0;
}

}  // namespace

Points Thinned(const Points& points, std::size_t max) {
    const std::uint64_t stride = StrideFor(points.size(), max);
    if (stride == 1) return points;
    Points some;
    for (std::uint64_t i = 0; i < points.size(); i += stride) some.push_back(points[i]);
    return some;
}

Expected<TriangleMesh> MeshOfPlane(const FittedPlane& plane, const Points& outlinePoints,
                                   const LocalToWorld& frame,
                                   const std::array<double, 4>& worldEquation,
                                   const std::function<bool()>& proceed) {
    const auto cancelled = [] { return Fail(ErrorCode::Cancelled, "the mesh was cancelled"); };
    const PlaneFrame own = plane.Frame();
    Points points = outlinePoints;
    const Points boundary = BoundaryOfLargest(plane, points);
    std::vector<int> all;
    std::vector<int> faces;
    if (!ConstrainedSurfaceWhile(points, own, all, boundary, proceed)) return cancelled();
    LiftPlanarVertices(points, outlinePoints.size(), own);
    if (!FacesInsideOutlineWhile(points, all, own, plane.Outline(), faces, proceed))
        return cancelled();

    TriangleMesh mesh;
    std::vector<std::uint32_t> place(points.size(), kUnused);
    for (std::size_t at = 0; at + 3 < faces.size(); at += 4)
        for (std::size_t corner = 1; corner <= 3; ++corner)
            place[static_cast<std::size_t>(faces[at + corner])] = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (place[i] == kUnused) continue;
        place[i] = static_cast<std::uint32_t>(mesh.points.size());
        mesh.points.push_back(frame.ToWorld(points[i]));
    }
    const bool turn = Opposed(own, frame, worldEquation);
    for (std::size_t at = 0; at + 3 < faces.size(); at += 4) {
        std::array<std::uint32_t, 3> triangle{};
        for (std::size_t corner = 0; corner < 3; ++corner)
            triangle[corner] = place[static_cast<std::size_t>(faces[at + 1 + corner])];
        if (turn) std::swap(triangle[1], triangle[2]);
        mesh.triangles.push_back(triangle);
    }
    return mesh;
}

}  // namespace orvix::detail
