// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <limits>

#include "orvix/points/records.h"

/// Axis-aligned bounds of positions, in two dimensions or three.
///
/// They work on ExtendsT, Extends2DT and any other struct whose `min` and `max` are positions.
///
///     auto bounds = NoBounds<Extends2DT<double>>();
///     for (const auto& p : positions) Extend(bounds, p);
///     if (Contains(bounds, {3, 4})) ...
///
/// Boundaries Contains takes positions on a side. A coordinate that is not-a-number extends
///            nothing, and no bounds contain it.
/// Threads    no state.
namespace orvix::detail {

/// Bounds of nothing: from the largest finite number down to the smallest.
template <class Bounds>
constexpr Bounds NoBounds() {
    Bounds bounds;
    using Coordinate = decltype(bounds.min.x);
    constexpr Coordinate kHighest = std::numeric_limits<Coordinate>::max();
    bounds.min.x = bounds.min.y = kHighest;
    bounds.max.x = bounds.max.y = -kHighest;
    if constexpr (requires { bounds.min.z; }) {
        bounds.min.z = kHighest;
        bounds.max.z = -kHighest;
    }
    return bounds;
}

template <class Bounds, class Position>
constexpr void Extend(Bounds& bounds, const Position& p) {
    bounds.min.x = std::min(bounds.min.x, p.x);
    bounds.min.y = std::min(bounds.min.y, p.y);
    bounds.max.x = std::max(bounds.max.x, p.x);
    bounds.max.y = std::max(bounds.max.y, p.y);
    if constexpr (requires { bounds.min.z; }) {
        bounds.min.z = std::min(bounds.min.z, p.z);
        bounds.max.z = std::max(bounds.max.z, p.z);
    }
}

/// Takes in all that `other` holds, which may be nothing.
template <class Bounds>
constexpr void Join(Bounds& bounds, const Bounds& other) {
    bounds.min.x = std::min(bounds.min.x, other.min.x);
    bounds.min.y = std::min(bounds.min.y, other.min.y);
    bounds.max.x = std::max(bounds.max.x, other.max.x);
    bounds.max.y = std::max(bounds.max.y, other.max.y);
    if constexpr (requires { bounds.min.z; }) {
        bounds.min.z = std::min(bounds.min.z, other.min.z);
        bounds.max.z = std::max(bounds.max.z, other.max.z);
    }
}

template <class Coordinate>
constexpr bool Contains(const Extends2DT<Coordinate>& bounds, const SimplePoint2DT<Coordinate>& p) {
    return p.x >= bounds.min.x && p.x <= bounds.max.x && p.y >= bounds.min.y && p.y <= bounds.max.y;
}

}  // namespace orvix::detail
