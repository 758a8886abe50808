// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/surfaces/surface_mesh.h"

#include "orvix/geometry/polygon_index.h"
#include "orvix/platform/asker.h"
#include "orvix/surfaces/stoppable_surface.h"

namespace orvix {

std::vector<SimplePointT<double>> BoundaryOf(const std::vector<SimplePointT<double>>& points,
                                             const PlaneRing& ring) {
    std::vector<SimplePointT<double>> boundary;
    if (ring.indices.empty()) return boundary;
    boundary.reserve(ring.indices.size() + 1);
    for (const std::uint32_t index : ring.indices) boundary.push_back(points[index]);
    boundary.push_back(boundary.front());
    return boundary;
}

void LiftPlanarVertices(std::vector<SimplePointT<double>>& points, std::size_t firstAppended,
                        const PlaneFrame& frame) {
    for (std::size_t i = firstAppended; i < points.size(); ++i) {
        points[i] = frame.To3D({points[i].x, points[i].y});
    }
}

std::vector<int> FacesInsideOutline(const std::vector<SimplePointT<double>>& points,
                                    const std::vector<int>& faces, const PlaneFrame& frame,
                                    const PlaneOutline& outline) {
    std::vector<int> kept;
    static_cast<void>(detail::FacesInsideOutlineWhile(points, faces, frame, outline, kept, {}));
    return kept;
}

bool detail::FacesInsideOutlineWhile(const std::vector<SimplePointT<double>>& points,
                                     const std::vector<int>& faces, const PlaneFrame& frame,
                                     const PlaneOutline& outline, std::vector<int>& kept,
                                     const std::function<bool()>& proceed) {
    constexpr std::uint32_t kFacesPerQuestion = 4096;  // some milliseconds
    const PolygonIndex index(outline);
    Asker asker(proceed, kFacesPerQuestion);
    for (std::size_t f = 0; f + 3 < faces.size(); f += 4) {
        if (!asker.GoesOn()) return false;
        const auto corner = [&](std::size_t k) {
            return frame.To2D(points[static_cast<std::size_t>(faces[f + k])]);
        };
        const SimplePoint2DT<double> p = corner(1);
        const SimplePoint2DT<double> q = corner(2);
        const SimplePoint2DT<double> r = corner(3);
        // BEHAVIOUR S3
        if (!index.Contains({(p.x + q.x + r.x) / 3, (p.y + q.y + r.y) / 3})) continue;
        kept.insert(kept.end(), {3, faces[f + 1], faces[f + 2], faces[f + 3]});
    }
    return true;
}

}  // namespace orvix
