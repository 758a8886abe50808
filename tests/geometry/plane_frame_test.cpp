// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/geometry/plane_frame.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace orvix {
namespace {

using Point = SimplePointT<double>;

void ExpectNear(const Point& p, const Point& q, double tolerance) {
    EXPECT_NEAR(p.x, q.x, tolerance);
    EXPECT_NEAR(p.y, q.y, tolerance);
    EXPECT_NEAR(p.z, q.z, tolerance);
}

TEST(PlaneFrame, TakesTheHorizontalDirectionAsItsFirstAxis) {
    const PlaneFrame frame(3, 4, 12, 26);
    EXPECT_EQ(frame.NormalLength(), 13);
    ExpectNear(frame.Normal(), {3 / 13.0, 4 / 13.0, 12 / 13.0}, 1e-15);
    ExpectNear(frame.U(), {0.8, -0.6, 0}, 1e-15);
    ExpectNear(frame.V(), {36 / 65.0, 48 / 65.0, -25 / 65.0}, 1e-15);
}

// BEHAVIOUR F1
TEST(PlaneFrame, TurnsOntoTheYAxisWhereThePlaneIsLevel) {
    const PlaneFrame frame(0, 0, 1, -2);
    ExpectNear(frame.U(), {0, -1, 0}, 0);
    ExpectNear(frame.V(), {1, 0, 0}, 0);
    const SimplePoint2DT<double> flat = frame.To2D({3, 4, 2});
    EXPECT_EQ(flat.x, -4);
    EXPECT_EQ(flat.y, 3);
    ExpectNear(frame.To3D(flat), {3, 4, 2}, 0);
}

TEST(PlaneFrame, CountsAPlaneAsLevelOnlyBelowTheDoubleEpsilon) {
    ExpectNear(PlaneFrame(1e-16, -1e-16, 1, 0).U(), {-1e-16, -1, 0}, 1e-30);
    ExpectNear(PlaneFrame(3e-16, 4e-16, 1, 0).U(), {0.8, -0.6, 0}, 1e-15);
}

TEST(PlaneFrame, MovesOnlyAReferenceAtTheOriginOntoThePlane) {
    ExpectNear(PlaneFrame(0, 0, 2, -6).Reference(), {0, 0, 3}, 0);
    ExpectNear(PlaneFrame(0, 0, 2, -6, {0, 1e-17, 0}).Reference(), {0, 1e-17, 3}, 0);
    ExpectNear(PlaneFrame(0, 0, 2, -6, {1, 0, 0}).Reference(), {1, 0, 0}, 0);
}

// BEHAVIOUR F2
TEST(PlaneFrame, DoesNotSubtractTheReference) {
    const PlaneFrame near(1, 2, 3, 4);
    const PlaneFrame far(1, 2, 3, 4, {70, 80, 90});
    EXPECT_EQ(near.To2D({5, 6, 7}).x, far.To2D({5, 6, 7}).x);
    EXPECT_EQ(near.To2D({5, 6, 7}).y, far.To2D({5, 6, 7}).y);
}

TEST(PlaneFrame, MapsPointsOfAnyPlaneThereAndBackTenKilometresOut) {
    constexpr unsigned kSeed = 20;
    SCOPED_TRACE(testing::Message() << "seed " << kSeed);
    std::mt19937 random(kSeed);
    std::uniform_real_distribution<double> unit(-1, 1);
    for (int i = 0; i < 200; ++i) {
        const PlaneFrame frame(unit(random), unit(random), unit(random), 1e4 * unit(random));
        const SimplePoint2DT<double> flat{1e4 * unit(random), 1e4 * unit(random)};
        const Point p = frame.To3D(flat);
        EXPECT_NEAR(frame.Distance(p), 0, 1e-10);
        EXPECT_NEAR(frame.To2D(p).x, flat.x, 1e-10);
        EXPECT_NEAR(frame.To2D(p).y, flat.y, 1e-10);
    }
}

}  // namespace
}  // namespace orvix
