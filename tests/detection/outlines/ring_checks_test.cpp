// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/outlines/ring_checks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <random>

namespace orvix::detection {
namespace {

using Position = SimplePoint2DT<double>;

PlaneRing RingOf(std::vector<Position> points) {
    PlaneRing ring;
    ring.points = std::move(points);
    return ring;
}

std::vector<std::size_t> InTheWay(std::vector<PlaneRing>& rings, double apart) {
    std::vector<PlaneRing*> pointers;
    for (PlaneRing& ring : rings) pointers.push_back(&ring);
    return RingsInTheWay(pointers, apart);
}

double DistanceTo(const Position& p, const Position& a, const Position& b) {
    const double x = b.x - a.x, y = b.y - a.y;
    const double t = std::clamp(((p.x - a.x) * x + (p.y - a.y) * y) / (x * x + y * y), 0.0, 1.0);
    return std::hypot(p.x - a.x - t * x, p.y - a.y - t * y);
}

bool Cross(const Position& a, const Position& b, const Position& c, const Position& d) {
    const auto side = [](const Position& p, const Position& q, const Position& r) {
        return (q.x - p.x) * (r.y - p.y) - (q.y - p.y) * (r.x - p.x) > 0;
    };
    return side(a, b, c) != side(a, b, d) && side(c, d, a) != side(c, d, b);
}

bool AreNear(const PlaneRing& e, const PlaneRing& f, double apart) {
    const auto& p = e.points;
    const auto& q = f.points;
    for (std::size_t i = 0; i < p.size(); ++i) {
        for (std::size_t j = 0; j < q.size(); ++j) {
            const Position &a = p[i], &b = p[(i + 1) % p.size()];
            const Position &c = q[j], &d = q[(j + 1) % q.size()];
            if (Cross(a, b, c, d) || DistanceTo(a, c, d) < apart || DistanceTo(c, a, b) < apart)
                return true;
        }
    }
    return false;
}

// Triangles of all sizes and shapes, whose edges follow each other and so are in no way of their own.
TEST(RingsInTheWay, AreThoseThatAPlainLookAtAllPairsFinds) {
    constexpr double kApart = 0.01;
    std::size_t found = 0;
    for (std::uint32_t seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 draw(seed);
        std::uniform_real_distribution<double> unit(0, 1);
        std::vector<PlaneRing> rings;
        for (int i = 0; i < 60; ++i) {
            const Position at{20 * unit(draw), 20 * unit(draw)};
            const double width = std::pow(10, 2 * unit(draw) - 1.5);
            const double height = std::pow(10, 2 * unit(draw) - 1.5);
            rings.push_back(RingOf(
                {at, {at.x + width, at.y + 0.1 * height}, {at.x + 0.3 * width, at.y + height}}));
        }
        std::vector<std::size_t> wanted;
        for (std::size_t i = 0; i < rings.size(); ++i) {
            const bool near = std::any_of(rings.begin(), rings.end(), [&](const PlaneRing& other) {
                return &other != &rings[i] && AreNear(rings[i], other, kApart);
            });
            if (near) wanted.push_back(i);
        }
        found += wanted.size();
        EXPECT_EQ(InTheWay(rings, kApart), wanted);
    }
    EXPECT_TRUE(found > 200 && found < 2200) << found;  // of 2400: both are met often
}

// A comb whose `teeth` point to the right, each 2 wide and a tenth of a unit from the next.
PlaneRing CombToTheRight(int teeth) {
    std::vector<Position> points{{-10, -1}};
    for (int i = 0; i < teeth; ++i) {
        const double y = 0.2 * i;
        points.insert(points.end(), {{0, y}, {1e5, y}, {1e5, y + 0.1}, {0, y + 0.1}});
    }
    points.push_back({-10, 0.2 * teeth});
    return RingOf(std::move(points));
}

// The same turned up, beside it.
PlaneRing CombUpward(int teeth) {
    PlaneRing ring = CombToTheRight(teeth);
    for (Position& p : ring.points) p = {2e5 - p.y, p.x};
    return ring;
}

// Long edges above each other and long ones beside each other: whichever way one looks, half of them
// are open at a time. To compare each with all of those takes minutes.
TEST(RingsInTheWay, AreFoundAmongManyLongEdgesBothWays) {
    std::vector<PlaneRing> rings;
    rings.push_back(CombToTheRight(50'000));
    rings.push_back(CombUpward(50'000));
    const auto began = std::chrono::steady_clock::now();
    EXPECT_TRUE(InTheWay(rings, 0.05).empty());
    // A tooth of the first that reaches the next one.
    rings[0].points[4 * 20'000 + 3].y += 0.08;
    EXPECT_EQ(InTheWay(rings, 0.05), std::vector<std::size_t>{0});
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
    EXPECT_LT(took.count(), 30);
}

}  // namespace
}  // namespace orvix::detection
