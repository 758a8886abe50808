// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/planes_report.h"

#include <algorithm>
#include <cmath>

namespace orvix::reports {

namespace {

using Vector = SimplePointT<double>;
using detection::FoundPlane;

const char* WordOf(detection::PlaneKind kind) {
    switch (kind) {
        case detection::PlaneKind::Floor:
            return "floor";
        case detection::PlaneKind::Ceiling:
            return "ceiling";
        case detection::PlaneKind::Wall:
            return "wall";
        case detection::PlaneKind::Roof:
            return "roof";
        case detection::PlaneKind::Other:
            break;
    }
    return "other";
}

Vector DirectionInWorld(const detail::LocalToWorld& frame, const Vector& direction) {
    const Vector from = frame.ToWorld(Vector{});
    const Vector to = frame.ToWorld(direction);
    const Vector d{to.x - from.x, to.y - from.y, to.z - from.z};
    const double length = std::sqrt(d.x * d.x + d.y * d.y + d.z * d.z);
    return {d.x / length, d.y / length, d.z / length};
}

WorldPlane::Ring RingInWorld(const FoundPlane& plane, const detail::LocalToWorld& frame,
                             const PlaneRing& ring) {
    WorldPlane::Ring out;
    for (const auto& corner : ring.points) out.push_back(frame.ToWorld(CornerOf(plane, corner)));
    if (IsTurned(plane)) std::reverse(out.begin() + 1, out.end());
    return out;
}

// Twice the area inside a ring, by the triangles that its corners make with a point of the plane.
double TwiceAreaOf(const WorldPlane::Ring& ring, const Vector& n, const Vector& o) {
    double twice = 0;
    for (std::size_t i = 0; i < ring.size(); ++i) {
        const Vector &p = ring[i], &q = ring[(i + 1) % ring.size()];
        const Vector a{p.x - o.x, p.y - o.y, p.z - o.z}, b{q.x - o.x, q.y - o.y, q.z - o.z};
        twice += n.x * (a.y * b.z - a.z * b.y) + n.y * (a.z * b.x - a.x * b.z) +
                 n.z * (a.x * b.y - a.y * b.x);
    }
    return twice;
}

}  // namespace

Vector CornerOf(const FoundPlane& plane, const SimplePoint2DT<double>& corner) {
    const Vector p = plane.frame.To3D(corner);
    const Vector& n = plane.normal;
    const double away = n.x * p.x + n.y * p.y + n.z * p.z + plane.offset;
    return {p.x - away * n.x, p.y - away * n.y, p.z - away * n.z};
}

bool IsTurned(const FoundPlane& plane) {
    const Vector& own = plane.frame.Normal();
    return own.x * plane.normal.x + own.y * plane.normal.y + own.z * plane.normal.z < 0;
}

std::vector<WorldPlane> WorldPlanesOf(const detection::PlaneSearch& search,
                                      const detail::LocalToWorld& frame) {
    std::vector<WorldPlane> planes;
    for (const FoundPlane& plane : search.Planes()) {
        WorldPlane out;
        out.number = planes.size() + 1;
        out.kind = WordOf(plane.kind);
        const Vector n = DirectionInWorld(frame, plane.normal);
        out.centroid = frame.ToWorld(plane.centre);
        const Vector& c = out.centroid;
        out.equation = {n.x, n.y, n.z, -(n.x * c.x + n.y * c.y + n.z * c.z)};
        out.points = plane.points;
        out.rms = plane.rms;
        out.tolerance = plane.tolerance;
        for (const PlaneRegion& region : plane.outline.regions) {
            out.regions.push_back({RingInWorld(plane, frame, region.outer), {}});
            for (const PlaneRing& hole : region.holes)
                out.regions.back().holes.push_back(RingInWorld(plane, frame, hole));
            // Corners were brought onto the plane, and took the area along.
            out.area += TwiceAreaOf(out.regions.back().outer, n, c) / 2;
            for (const WorldPlane::Ring& hole : out.regions.back().holes)
                out.area += TwiceAreaOf(hole, n, c) / 2;
        }
        planes.push_back(std::move(out));
    }
    return planes;
}

}  // namespace orvix::reports
