// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/geometry/vector.h"
#include "orvix/planes/fitted_plane.h"

/// A fitted plane's coefficients as vectors.
namespace orvix::detail {

inline Vector Normal(const FittedPlane& plane) {
    return {plane.a(), plane.b(), plane.c()};
}
inline Vector UnitNormal(const FittedPlane& plane) {
    return Unit(Normal(plane));
}
/// Signed, along the unit normal.
inline double Distance(const FittedPlane& plane, const Vector& p) {
    const Vector normal = Normal(plane);
    return (Dot(normal, p) + plane.d()) / Length(normal);
}

}  // namespace orvix::detail
