// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/planes/contour_box.h"

namespace orvix::detail {
namespace {

// The cosine within which a plane counts as level when a contour box is laid out.
constexpr double kLevelCosine = 0.99;

Vector Normalised(const Vector& p) {
    return p / Length(p);
}

/// Whether contour boxes are laid out along `normal` rather than along its opposite. The first
/// component that is not zero decides where the sum does not.
// BEHAVIOUR F10
bool IsBoxNormal(const Vector& normal) {
    for (const double side : {2 * normal.x + normal.y + 4 * normal.z, normal.x, normal.y}) {
        if (side != 0) return side > 0;
    }
    return true;
}

}  // namespace

ContourBox::ContourBox(const PlaneFrame& frame) : frame_(frame) {
    const Vector& normal = frame.Normal();
    const Vector m = IsBoxNormal(normal) ? normal : Vector{-normal.x, -normal.y, -normal.z};
    const bool level = m.z > kLevelCosine;  // BEHAVIOUR F9
    e_ = level ? Normalised({1 - m.x * m.x, -m.x * m.y, -m.x * m.z})
               : Normalised(Cross({0, 0, 1}, m));
    f_ = Cross(m, e_);
}

ContourBox::Corners ContourBox::AroundFlat(const SimplePoint2DT<double>& centre,
                                           double size) const {
    const Vector middle = frame_.To3D(centre);
    const double half = size / 2;
    const auto corner = [&](double e, double f) { return middle + e_ * e + f_ * f; };
    return {corner(-half, -half), corner(half, half), corner(-half, half), corner(half, -half)};
}

}  // namespace orvix::detail
