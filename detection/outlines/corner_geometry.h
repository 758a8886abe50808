// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "detection/outlines/rim.h"

/// How corners and the lines between them lie to each other.
///
/// Units  pixels.
/// Order  sides and crossings are decided in integers; distances are rounded once.
namespace orvix::detection {

/// Twice the area of a triangle; positive where it turns left.
inline std::int64_t TwiceAreaOf(const RimCorner& a, const RimCorner& b, const RimCorner& c) {
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

inline std::int64_t SquaredDistance(const RimCorner& a, const RimCorner& b) {
    return (b.x - a.x) * (b.x - a.x) + (b.y - a.y) * (b.y - a.y);
}

/// Of `p` from the line that ends at `a` and `b`.
inline double SquaredDistance(const RimCorner& p, const RimCorner& a, const RimCorner& b) {
    const std::int64_t along = (p.x - a.x) * (b.x - a.x) + (p.y - a.y) * (b.y - a.y);
    const std::int64_t length = SquaredDistance(a, b);
    if (along <= 0) return static_cast<double>(SquaredDistance(a, p));
    if (along >= length) return static_cast<double>(SquaredDistance(b, p));
    const auto area = static_cast<double>(TwiceAreaOf(a, b, p));
    return area * area / static_cast<double>(length);
}

/// Whether the lines from `a` to `b` and from `c` to `d` cross, overlap or come nearer than a
/// quarter of a pixel. An end that they share does not count.
bool Collide(const RimCorner& a, const RimCorner& b, const RimCorner& c, const RimCorner& d);

/// Whether `p` lies to the left of the way that comes from `before` to `at` and goes to `after`.
bool IsLeftOfBend(const RimCorner& p, const RimCorner& before, const RimCorner& at,
                  const RimCorner& after);

}  // namespace orvix::detection
