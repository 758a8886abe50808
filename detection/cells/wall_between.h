// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>

#include "detection/cells/moments.h"

namespace orvix::detection {

/// Whether a wall stands in the gap between two cells of a ceiling or floor, at its two rims.
///
///     const bool parted = IsWallBetween(atA, atB, normal, size, [&](const Vector& at, const Vector& along) {
///         return HoldsPoints(at) && !RunsAlong(at, along);
///     });
///
/// A wall is what rises from both rims, or from one cell further into the gap, to one side of the
/// plane: of the second to the fifth cell above (or below) each rim three are blocked. `isBlocked`
/// says so of a place: its cell holds points, and their surface does not run along the gap from
/// rim to rim, as a window above its sill does, which parts nothing. BEHAVIOUR A5
///
/// Units  metres; `normal` of length one.
/// Cost   up to 32 questions; four to eight where nothing rises.
template <class IsBlocked>
bool IsWallBetween(const Vector& a, const Vector& b, const Vector& normal, double size,
                   const IsBlocked& isBlocked) {
    constexpr int kFirst = 2, kLast = 5;  // cells from the plane
    constexpr int kMaxOpen = 1;           // of them
    const Vector across = detail::Unit(b - a);
    for (const double side : {size, -size}) {
        const auto rises = [&](const Vector& rim, const Vector& inward) {
            int open = 0;
            for (int step = kLast; step >= kFirst && open <= kMaxOpen; --step) {
                const Vector at = rim + normal * (side * step);
                // The cells where the wall begins hold both surfaces, so they may belong to neither.
                if (!isBlocked(at, across) && !isBlocked(at + inward, across)) ++open;
            }
            return open <= kMaxOpen;
        };
        if (rises(a, across * size) && rises(b, across * -size)) return true;
    }
    return false;
}

/// The least cosine between a surface's normal and the gap that it blocks.
inline constexpr double kMinBlockingCosine = 0.5;

/// Whether a surface of that normal stands across a direction, rather than along it.
inline bool StandsAcross(const Vector& normal, const Vector& direction) {
    return std::abs(Dot(normal, direction)) >= kMinBlockingCosine;
}

/// Sides of cells that touch: a gap between their points that may hold a wall is wider.
inline constexpr double kMinWalledGap = 0.5;
/// Metres: larger cells hold a thin wall and what lies on both sides of it, and mostly several surfaces.
inline constexpr double kMaxWalledCell = 0.2;

}  // namespace orvix::detection
