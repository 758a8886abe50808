// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <limits>
#include <vector>

#include "orvix/points/records.h"

namespace orvix::detail {

/// On which side of a line or a circle a position lies, decided exactly.
///
/// Rounded arithmetic answers where its error cannot change the sign, which is nearly always; exact
/// numbers answer the rest. So an answer is a function of the positions alone, on every machine.
///
///     const PlanarPredicates decide(positions);
///     if (decide.Orientation(a, b, c) > 0) ...            // c lies to the left of a -> b
///
/// Boundaries Orientation is 0 for three positions on one line. No four positions are on one circle for
///            IsInCircle: the one that comes last in order of x, then y, counts as a little higher than
///            the paraboloid over which circles are planes (BEHAVIOUR S6), as CGAL has it.
/// Threads    const calls may run side by side.
/// Cost       some nanoseconds; about 200 ns where rounded arithmetic does not answer.
/// Source     J. R. Shewchuk: Adaptive precision floating-point arithmetic and fast robust geometric
///            predicates. Discrete & Computational Geometry 18 (1997), 305-363: the error bounds.
///            O. Devillers, M. Teillaud: Perturbations and vertex removal in a 3D Delaunay
///            triangulation. SODA 2003, 313-319: what decides on a circle.
class PlanarPredicates {
public:
    using Position = SimplePoint2DT<double>;

    /// `positions` are those that will be asked about: finite, and none of them twice.
    explicit PlanarPredicates(const std::vector<Position>& positions);

    /// 1 where a, b, c turn left, -1 where they turn right, 0 on one line.
    int Orientation(const Position& a, const Position& b, const Position& c) const {
        const double left = (a.x - c.x) * (b.y - c.y);
        const double right = (a.y - c.y) * (b.x - c.x);
        const double bound =
            kOrientationError * (std::abs(left) + std::abs(right)) + absoluteError_;
        if (left - right > bound) return 1;
        if (left - right < -bound) return -1;
        return ExactOrientation(a, b, c);
    }

    /// Whether d lies inside the circle through a, b, c, which turn left.
    bool IsInCircle(const Position& a, const Position& b, const Position& c,
                    const Position& d) const {
        const double ax = a.x - d.x, ay = a.y - d.y;
        const double bx = b.x - d.x, by = b.y - d.y;
        const double cx = c.x - d.x, cy = c.y - d.y;
        const double bc = bx * cy, cb = cx * by;
        const double ca = cx * ay, ac = ax * cy;
        const double ab = ax * by, ba = bx * ay;
        const double liftA = ax * ax + ay * ay;
        const double liftB = bx * bx + by * by;
        const double liftC = cx * cx + cy * cy;
        const double determinant = liftA * (bc - cb) + liftB * (ca - ac) + liftC * (ab - ba);
        const double size = liftA * (std::abs(bc) + std::abs(cb)) +
                            liftB * (std::abs(ca) + std::abs(ac)) +
                            liftC * (std::abs(ab) + std::abs(ba));
        const double bound = kCircleError * size + absoluteError_;
        if (determinant > bound) return true;
        if (determinant < -bound) return false;
        return ExactIsInCircle(a, b, c, d);
    }

private:
    static constexpr double kHalfStep = std::numeric_limits<double>::epsilon() / 2;
    static constexpr double kOrientationError = (3 + 16 * kHalfStep) * kHalfStep;
    static constexpr double kCircleError = (10 + 96 * kHalfStep) * kHalfStep;

    static int ExactOrientation(const Position& a, const Position& b, const Position& c);
    static bool ExactIsInCircle(const Position& a, const Position& b, const Position& c,
                                const Position& d);

    double absoluteError_;  // of products that are too small for a double's full precision
};

}  // namespace orvix::detail
