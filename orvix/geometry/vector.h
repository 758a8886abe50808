// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>

#include "orvix/points/records.h"

/// Vectors in double precision, with operators, on the library's own points.
///
///     const Vector normal = Unit(Cross(b - a, c - a));
///     const Vector foot = p - normal * Dot(normal, p - a);
///
/// Other rooms name what they use: `using detail::Cross, detail::Dot, detail::operator-;`.
///
/// Order  each coordinate is computed as the formula beside its function reads, from left to right:
///        results are the same bits on every system. A product's factors may change places, a sum's
///        terms may not.
namespace orvix::detail {

using Vector = SimplePointT<double>;

constexpr Vector operator+(const Vector& a, const Vector& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
constexpr Vector operator-(const Vector& a, const Vector& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
constexpr Vector operator*(const Vector& a, double factor) {
    return {a.x * factor, a.y * factor, a.z * factor};
}
/// Three divisions: rounds less than `a * (1 / divisor)`, and differs from it in the last place.
constexpr Vector operator/(const Vector& a, double divisor) {
    return {a.x / divisor, a.y / divisor, a.z / divisor};
}

/// (a.x b.x + a.y b.y) + a.z b.z
constexpr double Dot(const Vector& a, const Vector& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}
constexpr Vector Cross(const Vector& a, const Vector& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double Length(const Vector& a) {
    return std::sqrt(Dot(a, a));
}
/// Half-way between two places: (a + b) * 0.5 in each coordinate.
constexpr Vector Middle(const Vector& a, const Vector& b) {
    return (a + b) * 0.5;
}
/// The direction of `a`: a * (1 / length). The zero vector stays. Where each coordinate is to be
/// divided instead, write `a / Length(a)`.
inline Vector Unit(const Vector& a) {
    const double length = Length(a);
    return length > 0 ? a * (1.0 / length) : a;
}
/// Whether a place lies beside the line along `axis`: further from it than a thousandth of the
/// axis's length. `offset` leads to the place from any place of the line. Points of which none lies
/// beside the line between the two furthest apart leave a plane's normal open.
inline bool IsBesideLine(const Vector& offset, const Vector& axis) {
    return Length(Cross(offset, axis)) > 1e-3 * Dot(axis, axis);
}
constexpr Vector Widened(const SimplePointT<float>& p) {
    return {p.x, p.y, p.z};
}

}  // namespace orvix::detail
