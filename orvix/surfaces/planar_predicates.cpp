// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/surfaces/planar_predicates.h"

#include <CGAL/Exact_predicates_inexact_constructions_kernel.h>

#include <algorithm>
#include <array>

#include "orvix/surfaces/planar_sites.h"

namespace orvix::detail {
namespace {

using Position = SimplePoint2DT<double>;
using Kernel = CGAL::Epick;

// Up to this coordinate a product of four differences does not overflow, and one that underflows
// is wrong by less than kUnderflow: 6 * 2^-1074 * 8e140 is far below it.
constexpr double kLargest = 1e70;
constexpr double kUnderflow = 1e-90;

Kernel::Point_2 ToKernel(const Position& p) {
    return {p.x, p.y};
}

}  // namespace

PlanarPredicates::PlanarPredicates(const std::vector<Position>& positions) {
    const bool measured = std::all_of(positions.begin(), positions.end(), [](const Position& p) {
        return std::abs(p.x) <= kLargest && std::abs(p.y) <= kLargest;
    });
    absoluteError_ = measured ? kUnderflow : std::numeric_limits<double>::infinity();
}

int PlanarPredicates::ExactOrientation(const Position& a, const Position& b, const Position& c) {
    return static_cast<int>(CGAL::orientation(ToKernel(a), ToKernel(b), ToKernel(c)));
}

// On a circle the last position in order decides: raised, it leaves the circle where it is d, and else
// turns the circle's plane about the other two corners, so that d is inside where it lies on the same
// side of their line. Where d is on that line, the position before decides.
// BEHAVIOUR S6
bool PlanarPredicates::ExactIsInCircle(const Position& a, const Position& b, const Position& c,
                                       const Position& d) {
    const CGAL::Oriented_side side =
        CGAL::side_of_oriented_circle(ToKernel(a), ToKernel(b), ToKernel(c), ToKernel(d));
    if (side != CGAL::ON_ORIENTED_BOUNDARY) return side == CGAL::ON_POSITIVE_SIDE;
    std::array<const Position*, 4> order{&a, &b, &c, &d};
    std::sort(order.begin(), order.end(),
              [](const Position* p, const Position* q) { return IsBefore(*p, *q); });
    for (auto last = order.rbegin(); last != order.rend() && *last != &d; ++last) {
        const int turn = *last == &c   ? ExactOrientation(a, b, d)
                         : *last == &b ? ExactOrientation(a, d, c)
                                       : ExactOrientation(d, b, c);
        if (turn != 0) return turn > 0;
    }
    return false;
}

}  // namespace orvix::detail
