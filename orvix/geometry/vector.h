// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>

#include "orvix/points/records.h"

/// Vectors in double precision, on the library's own points.
namespace orvix::detail {

using Vector = SimplePointT<double>;

inline Vector Minus(const Vector& a, const Vector& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Vector Along(const Vector& a, const Vector& direction, double length) {
    return {a.x + direction.x * length, a.y + direction.y * length, a.z + direction.z * length};
}
inline Vector Scaled(const Vector& a, double factor) {
    return {a.x * factor, a.y * factor, a.z * factor};
}
inline double Dot(const Vector& a, const Vector& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline Vector Cross(const Vector& a, const Vector& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double Length(const Vector& a) {
    return std::sqrt(Dot(a, a));
}
/// Half-way between two places: (a + b) * 0.5 in each coordinate.
inline Vector Middle(const Vector& a, const Vector& b) {
    return {(a.x + b.x) * 0.5, (a.y + b.y) * 0.5, (a.z + b.z) * 0.5};
}
/// Of length 1; the zero vector stays.
inline Vector Unit(const Vector& a) {
    const double length = Length(a);
    return length > 0 ? Scaled(a, 1.0 / length) : a;
}
inline Vector Widened(const SimplePointT<float>& p) {
    return {p.x, p.y, p.z};
}

}  // namespace orvix::detail
