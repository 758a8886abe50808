// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/gpu/ray_rule.h"

namespace orvix::detail {
namespace {

// The share of the numbers met that covers the rounding of some ten operations on doubles.
constexpr double kRounding = 1e-13;

double SizeOf(const SimplePointT<double>& p) {
    return std::fabs(p.x) + std::fabs(p.y) + std::fabs(p.z);
}

double Beyond(double value, double low, double high) {
    return value < low ? low - value : value > high ? value - high : 0.0;
}

}  // namespace

double LeastValue(const SnapRule& rule, const ExtendsT<double>& box) {
    const auto& o = rule.origin;
    const double slack = kRounding * (SizeOf(box.min) + SizeOf(box.max) + SizeOf(o));
    if (!rule.isRay) {
        const double x = std::max(0.0, Beyond(o.x, box.min.x, box.max.x) - slack);
        const double y = std::max(0.0, Beyond(o.y, box.min.y, box.max.y) - slack);
        const double z = std::max(0.0, Beyond(o.z, box.min.z, box.max.z) - slack);
        const double least = ((x * x + y * y) + z * z) * (1 - kRounding);
        return least <= rule.radius * rule.radius ? least : kNoValue;
    }
    const auto& d = rule.direction;
    const double hx = (box.max.x - box.min.x) / 2;
    const double hy = (box.max.y - box.min.y) / 2;
    const double hz = (box.max.z - box.min.z) / 2;
    const double x = box.min.x + hx - o.x;
    const double y = box.min.y + hy - o.y;
    const double z = box.min.z + hz - o.z;
    const double along = x * d.x + y * d.y + z * d.z;
    const double half = hx * std::fabs(d.x) + hy * std::fabs(d.y) + hz * std::fabs(d.z) + slack;
    if (along + half < 0) return kNoValue;
    // The ball around the box against the widest place of the aperture beside it.
    const double qx = x - along * d.x;
    const double qy = y - along * d.y;
    const double qz = z - along * d.z;
    const double distance = std::sqrt(qx * qx + qy * qy + qz * qz);
    const double ball = std::sqrt(hx * hx + hy * hy + hz * hz);
    const double reach = rule.radius + (along + half) * rule.tangent;
    if (distance > (reach + ball) * (1 + kRounding) + slack) return kNoValue;
    return std::max(0.0, along - half);
}

}  // namespace orvix::detail
