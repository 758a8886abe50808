// SPDX-License-Identifier: GPL-3.0-or-later
#include "support/scenes/ray_scan.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>

namespace orvix::test {
namespace {

using detail::Dot, detail::Length, detail::Vector;
using detail::operator-;

/// A square of 2 x 2 m that faces the scanner at the origin, its middle on the x axis.
RaySurface SquareAt(double distance, std::int32_t plane, double side = 2) {
    RaySurface surface;
    surface.corner = {distance, side / 2, -side / 2};
    surface.u = {0, -1, 0};
    surface.v = {0, 0, 1};
    surface.width = surface.height = side;
    surface.plane = plane;
    return surface;
}

RayOptions Plain() {
    RayOptions options;
    options.noise = 0;
    options.beam = 0;
    options.step = 0.5;
    return options;
}

std::vector<ScannedPoint> Scanned(const RayScene& scene, const RayOptions& options) {
    std::vector<ScannedPoint> points;
    RayScan(scene, options, [&points](const RayReturn& r) {
        if (r.hit) points.push_back(r.point);
    });
    return points;
}

/// Directions per steradian times the solid angle of a square of 2 m, by its own formula.
double ExpectedPoints(double distance, double step) {
    const double radians = step * std::acos(-1.0) / 180;
    const double solid = 4 * std::asin(1 / (1 + distance * distance));
    return solid / (radians * radians);
}

TEST(RayScan, ThinsOutWithTheSquareOfTheDistance) {
    for (const double distance : {4.0, 8.0}) {
        const auto points = Scanned({{SquareAt(distance, 0)}, {}}, Plain());
        const double expected = ExpectedPoints(distance, 0.5);
        EXPECT_NEAR(static_cast<double>(points.size()) / expected, 1, 0.06) << distance;
        for (const ScannedPoint& p : points) ASSERT_NEAR(p.position.x, distance, 1e-9);
    }
}

TEST(RayScan, HidesWhatStandsBehind) {
    const auto points = Scanned({{SquareAt(6, 0, 4), SquareAt(3, 1, 1)}, {}}, Plain());
    std::map<std::int32_t, int> count;
    for (const ScannedPoint& p : points) {
        ++count[p.plane];
        // The near square's shadow is a metre to each side on the far one.
        if (p.plane == 0) {
            ASSERT_TRUE(std::abs(p.position.y) > 1 - 1e-9 || std::abs(p.position.z) > 1 - 1e-9);
        }
    }
    EXPECT_GT(count[0], 100);
    EXPECT_GT(count[1], 100);
}

TEST(RayScan, HolesLetRaysThrough) {
    RaySurface wall = SquareAt(3, 0);
    wall.holes.push_back({0.5, 0.5, 1.5, 1.5});
    for (const ScannedPoint& p : Scanned({{wall, SquareAt(6, 1, 4)}, {}}, Plain())) {
        const bool inHole = std::abs(p.position.y) * 3 / p.position.x < 0.5 - 1e-9 &&
                            std::abs(p.position.z) * 3 / p.position.x < 0.5 - 1e-9;
        // What lies on the wall lies beside its hole, by a hair at least.
        ASSERT_TRUE(p.plane == 1 || !inHole);
    }
}

TEST(RayScan, PutsTheNoiseAlongTheRay) {
    RayOptions noisy = Plain();
    noisy.noise = 0.01;
    double sum = 0;
    const auto points = Scanned({{SquareAt(4, 0)}, {}}, noisy);
    for (const ScannedPoint& p : points) {
        // Where the ray met the square.
        const double range = Length(p.position) * 4 / p.position.x;
        const double off = Length(p.position) - range;
        ASSERT_LE(std::abs(off), 0.06 + 1e-9);
        sum += off * off;
    }
    EXPECT_NEAR(std::sqrt(sum / static_cast<double>(points.size())), 0.01, 0.0008);
}

TEST(RayScan, BendsSurfacesByTheirWarpWavinessAndPanels) {
    RaySurface bent = SquareAt(4, 0);
    bent.warp = 0.02;
    for (const ScannedPoint& p : Scanned({{bent}, {}}, Plain())) {
        // u runs against y; the front faces the scanner.
        const double s = 1 - p.position.y, t = p.position.z + 1;
        ASSERT_NEAR(4 - p.position.x, 0.02 * (s - 1) * (t - 1), 1e-9);
    }
    RaySurface wavy = SquareAt(4, 0, 4);
    wavy.waviness = 0.012;
    double low = 0, high = 0;
    for (const ScannedPoint& p : Scanned({{wavy}, {}}, Plain())) {
        low = std::min(low, 4 - p.position.x);
        high = std::max(high, 4 - p.position.x);
        const double s = 2 - p.position.y, t = p.position.z + 2;
        const double pi = std::acos(-1.0);
        ASSERT_NEAR(4 - p.position.x, 0.006 * std::sin(pi * s) * std::sin(pi * t), 1e-7);
    }
    EXPECT_NEAR(high - low, 0.012, 1e-4);
    RaySurface leaf = SquareAt(4, 0);
    leaf.panels.push_back({{0.5, 0.5, 1.5, 1.5}, -0.01});
    int sunk = 0;
    for (const ScannedPoint& p : Scanned({{leaf}, {}}, Plain())) {
        const bool inside = std::abs(p.position.y) < 0.49 && std::abs(p.position.z) < 0.49;
        if (inside) {
            ASSERT_NEAR(p.position.x, 4.01, 1e-9);
        }
        sunk += inside ? 1 : 0;
    }
    EXPECT_GT(sunk, 100);
}

TEST(RayScan, MixesPixelsBetweenSurfacesAndPutsThemOnNoPlane) {
    // Two squares, the nearer one 20 cm in front of the other.
    const RayScene scene{{SquareAt(3.2, 0, 4), SquareAt(3, 1, 1)}, {}};
    RayOptions wide = Plain();
    wide.beam = 0.02;
    int mixed = 0;
    for (const ScannedPoint& p : Scanned(scene, wide)) {
        if (p.plane != kNoPlane) continue;
        ++mixed;
        ASSERT_GT(p.position.x, 3 + 1e-6);
        ASSERT_LT(p.position.x, 3.2 - 1e-6);
    }
    EXPECT_GT(mixed, 10);
    for (const ScannedPoint& p : Scanned(scene, Plain())) ASSERT_NE(p.plane, kNoPlane);
}

TEST(RayScan, LetsAShareOfTheBeamsThroughGlass) {
    RaySurface pane = SquareAt(3, 7);
    pane.passes = 0.75;
    std::map<std::int32_t, double> count;
    for (const ScannedPoint& p : Scanned({{pane, SquareAt(6, 0, 4)}, {}}, Plain()))
        ++count[p.plane];
    EXPECT_NEAR(count[0] / (count[0] + count[7]), 0.75, 0.03);
}

TEST(RayScan, LosesBeamsThatGraze) {
    // A floor 1.5 m below: at three degrees it is 29 m away.
    RaySurface floor;
    floor.corner = {-100, -100, -1.5};
    floor.u = {1, 0, 0};
    floor.v = {0, 1, 0};
    floor.width = floor.height = 200;
    floor.plane = 0;
    double furthest = 0;
    for (const ScannedPoint& p : Scanned({{floor}, {}}, Plain()))
        furthest = std::max(furthest, Length(p.position));
    EXPECT_GT(furthest, 20);
    EXPECT_LE(furthest, 30);
}

TEST(RayScan, MovesAllPointsByTheDisplacementAndKeepsTheLocalOnes) {
    RayOptions moved = Plain();
    moved.station = {0.5, 0.25, 0.125};
    moved.displacement = {0.003, -0.004, 0};
    RayScan({{SquareAt(4, 0)}, {}}, moved, [&](const RayReturn& r) {
        if (!r.hit) return;
        ASSERT_NEAR(r.local.x, 3.5, 1e-9);
        ASSERT_NEAR(r.point.position.x, 4.003, 1e-9);
        ASSERT_NEAR(Length(r.point.position - r.local - moved.station), 0.005, 1e-9);
    });
}

TEST(RayScan, TurnsAllPointsAboutTheScanner) {
    RayOptions turned = Plain();
    turned.turn = {0, 0, 0.001};
    RayScan({{SquareAt(4, 0)}, {}}, turned, [&](const RayReturn& r) {
        if (!r.hit) return;
        ASSERT_NEAR(r.local.x, 4, 1e-9);
        ASSERT_NEAR(r.point.position.y - r.local.y, 0.004, 1e-9);
        ASSERT_NEAR(r.point.position.x - r.local.x, -0.001 * r.local.y, 1e-9);
    });
}

}  // namespace
}  // namespace orvix::test
