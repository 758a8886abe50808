// SPDX-License-Identifier: GPL-3.0-or-later
#include "view/planes/grown_plane.h"

#include <cmath>
#include <cstddef>

#include "orvix/geometry/vector.h"

namespace orvix::view {

namespace {

using detail::Dot, detail::Length, detail::Vector;
using detail::operator-, detail::operator+, detail::operator*;
using detection::FoundPlane, detection::PlaneKind;

constexpr double kSine10 = 0.17364817766693033;  // of 10 degrees
constexpr double kCosine10 = 0.984807753012208;  // of 10 degrees

bool IsUpright(const Vector& normal) {
    return std::fabs(normal.z) <= kSine10;
}
bool IsLevel(const Vector& normal) {
    return std::fabs(normal.z) >= kCosine10;
}

bool LooksAway(const FoundPlane& plane, const std::vector<Vector>& stations,
               const ExtendsT<double>& bounds) {
    if (!stations.empty()) {
        std::size_t behind = 0;
        for (const Vector& station : stations)
            if (Dot(plane.normal, station) + plane.offset < 0) ++behind;
        return 2 * behind > stations.size();
    }
    const Vector middle = (bounds.min + bounds.max) * 0.5;
    if (IsUpright(plane.normal)) return Dot(plane.normal, middle) + plane.offset > 0;
    const bool above = IsLevel(plane.normal) && plane.centre.z > middle.z;
    return above ? plane.normal.z > 0 : plane.normal.z < 0;
}

PlaneKind KindOf(const Vector& normal) {
    if (IsUpright(normal)) return PlaneKind::Wall;
    if (!IsLevel(normal)) return PlaneKind::Other;
    return normal.z > 0 ? PlaneKind::Floor : PlaneKind::Ceiling;
}

}  // namespace

FoundPlane FoundPlaneOf(const detail::SeedPlane& grown, const std::vector<Vector>& stations,
                        const ExtendsT<double>& bounds) {
    const FittedPlane& fitted = grown.plane;
    FoundPlane plane;
    const Vector normal{fitted.a(), fitted.b(), fitted.c()};
    const double length = Length(normal);
    plane.normal = normal * (1 / length);
    plane.offset = fitted.d() / length;
    plane.centre = {fitted.x(), fitted.y(), fitted.z()};
    plane.points = grown.points;
    plane.rms = grown.rms;
    plane.tolerance = grown.maxDistanceAllowed;
    plane.area = grown.area;
    plane.frame = fitted.Frame();
    plane.outline = fitted.Outline();
    if (LooksAway(plane, stations, bounds)) {
        plane.normal = plane.normal * -1.0;
        plane.offset = -plane.offset;
    }
    plane.kind = KindOf(plane.normal);
    return plane;
}

const char* WordOf(PlaneWorm::Ended ended) {
    switch (ended) {
        case PlaneWorm::Ended::Exhausted:
            return "edge";
        case PlaneWorm::Ended::Outline:
            return "outline";
        case PlaneWorm::Ended::Reach:
            return "reach";
        case PlaneWorm::Ended::Budget:
            return "budget";
        case PlaneWorm::Ended::Stopped:
            return "stopped";
        case PlaneWorm::Ended::NotLaunched:
            break;
    }
    return "not-launched";
}

}  // namespace orvix::view
