// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/scans/scan_pose.h"

#include <cmath>
#include <numbers>

#include "orvix/geometry/sine_cosine.h"
#include "orvix/geometry/vector.h"

namespace orvix::importer {
namespace {

using detail::Cross, detail::Dot, detail::Length, detail::Vector;
using detail::operator-, detail::operator*, detail::operator/;

std::optional<Vector> DirectionOf(const Vector& v) {
    const double length = Length(v);
    if (!std::isnormal(length)) return std::nullopt;
    return v / length;
}

// The largest of the four components is found first, so that none is divided by a small one.
Quaternion QuaternionOf(const Vector& x, const Vector& y, const Vector& z) {
    const double trace = x.x + y.y + z.z;
    if (trace > 0) {
        const double w = std::sqrt(trace + 1) / 2;
        return {w, (y.z - z.y) / (4 * w), (z.x - x.z) / (4 * w), (x.y - y.x) / (4 * w)};
    }
    if (x.x >= y.y && x.x >= z.z) {
        const double a = std::sqrt(1 + x.x - y.y - z.z) / 2;
        return {(y.z - z.y) / (4 * a), a, (y.x + x.y) / (4 * a), (z.x + x.z) / (4 * a)};
    }
    if (y.y >= z.z) {
        const double b = std::sqrt(1 + y.y - x.x - z.z) / 2;
        return {(z.x - x.z) / (4 * b), (y.x + x.y) / (4 * b), b, (z.y + y.z) / (4 * b)};
    }
    const double c = std::sqrt(1 + z.z - x.x - y.y) / 2;
    return {(x.y - y.x) / (4 * c), (z.x + x.z) / (4 * c), (z.y + y.z) / (4 * c), c};
}

// The angle within 0 to pi / 2 whose tangent is sine / cosine, to the last bit the same on every
// system: halving between bounds needs no library function.
double AngleOf(double sine, double cosine) {
    double low = 0;
    double high = std::numbers::pi / 2;
    for (;;) {
        const double middle = low + (high - low) / 2;
        if (middle <= low || middle >= high) return high;
        const detail::SineCosine at = detail::SineCosineOf(middle);
        (sine * at.cosine > cosine * at.sine ? low : high) = middle;
    }
}

bool StartsNegative(const Quaternion& q) {
    for (const double v : {q.w, q.x, q.y, q.z}) {
        if (v != 0) return v < 0;
    }
    return false;
}

}  // namespace

Quaternion operator*(const Quaternion& a, const Quaternion& b) {
    return {a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z,
            a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y,
            a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x,
            a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w};
}

std::optional<Quaternion> Normalised(const Quaternion& q) {
    const double length = std::sqrt(q.w * q.w + q.x * q.x + q.y * q.y + q.z * q.z);
    if (!std::isnormal(length)) return std::nullopt;
    return Quaternion{q.w / length, q.x / length, q.y / length, q.z / length};
}

std::optional<AffineMap> MapOf(const ScanPose& pose) {
    const auto& [w, x, y, z] = pose.rotation;
    const SimplePointT<double>& t = pose.position;
    const bool turned = x != 0 || y != 0 || z != 0;
    if (!turned && t.x == 0 && t.y == 0 && t.z == 0) return std::nullopt;
    return AffineMap{{1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y), t.x,
                      2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x), t.y,
                      2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y), t.z}};
}

std::optional<Quaternion> RotationOf(const AffineMap& map) {
    const auto& m = map.m;
    const Vector second{m[1], m[5], m[9]};
    const auto x = DirectionOf({m[0], m[4], m[8]});
    if (!x) return std::nullopt;
    const double along = Dot(*x, second);
    const auto y = DirectionOf(second - *x * along);
    if (!y) return std::nullopt;
    const Vector z = Cross(*x, *y);
    if (!(Dot(z, {m[2], m[6], m[10]}) > 0)) return std::nullopt;
    return Normalised(QuaternionOf(*x, *y, z));
}

AxisAngle AxisAngleOf(const Quaternion& rotation) {
    Quaternion q = rotation;
    if (StartsNegative(q)) q = {-q.w, -q.x, -q.y, -q.z};
    const auto axis = DirectionOf({q.x, q.y, q.z});
    if (!axis) return {};
    const double sine = std::sqrt(q.x * q.x + q.y * q.y + q.z * q.z);
    // Adding zero turns negative zeros into positive ones.
    return {{axis->x + 0.0, axis->y + 0.0, axis->z + 0.0}, 2 * AngleOf(sine, q.w)};
}

}  // namespace orvix::importer
