// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>

#include "building/building.h"

/// Vectors of a plan, on the building's own points.
namespace orvix::output {

using building::PlanPoint;
using building::PlanRegion;
using building::PlanRing;

constexpr PlanPoint operator+(const PlanPoint& a, const PlanPoint& b) {
    return {a.x + b.x, a.y + b.y};
}
constexpr PlanPoint operator-(const PlanPoint& a, const PlanPoint& b) {
    return {a.x - b.x, a.y - b.y};
}
constexpr PlanPoint operator*(const PlanPoint& a, double factor) {
    return {a.x * factor, a.y * factor};
}
constexpr double Dot(const PlanPoint& a, const PlanPoint& b) {
    return a.x * b.x + a.y * b.y;
}
/// Above 0 where `b` is to the left of `a`.
constexpr double Cross(const PlanPoint& a, const PlanPoint& b) {
    return a.x * b.y - a.y * b.x;
}
/// A quarter turn to the left.
constexpr PlanPoint LeftOf(const PlanPoint& a) {
    return {-a.y, a.x};
}
/// The same bits on every system, which std::hypot does not promise.
inline double Length(const PlanPoint& a) {
    return std::sqrt(a.x * a.x + a.y * a.y);
}

/// Twice the area inside a ring, above 0 where it runs counter-clockwise.
inline double TwiceArea(const PlanRing& ring) {
    double sum = 0;
    for (std::size_t i = 0; i < ring.size(); ++i)
        sum += Cross(ring[i] - ring[0], ring[(i + 1) % ring.size()] - ring[0]);
    return sum;
}

}  // namespace orvix::output
