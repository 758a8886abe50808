// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/scans/scan_pose.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

#include "importer/scans/coordinate_frame.h"

namespace orvix::importer::test {
namespace {

TEST(ScanPose, APoseThatChangesNothingHasNoMap) {
    EXPECT_FALSE(MapOf({}).has_value());
    EXPECT_TRUE(MapOf({{0, 0, 1e-9}, {}}).has_value());
}

TEST(ScanPose, TurnsFirstAndMovesThen) {
    const double half = std::sqrt(0.5);  // a quarter of a turn about z
    const auto map = MapOf({{10, 20, 30}, {half, 0, 0, half}});
    const SimplePointT<double> p = map->Apply(1, 2, 3);
    EXPECT_NEAR(p.x, 8, 1e-14);
    EXPECT_NEAR(p.y, 21, 1e-14);
    EXPECT_NEAR(p.z, 33, 1e-14);
}

TEST(ScanPose, EveryRotationComesBackFromItsMatrixAndItsAxis) {
    std::mt19937_64 random(11);
    std::normal_distribution<double> normal;
    for (int i = 0; i < 20'000; ++i) {
        const auto q =
            *Normalised({normal(random), normal(random), normal(random), normal(random)});
        const auto map = MapOf({{1, 2, 3}, q});
        const auto back = RotationOf(*map);
        ASSERT_TRUE(back);
        const double same = q.w * back->w + q.x * back->x + q.y * back->y + q.z * back->z;
        EXPECT_NEAR(std::fabs(same), 1, 1e-14);
        const AxisAngle turn = AxisAngleOf(q);
        EXPECT_NEAR(std::hypot(turn.axis[0], turn.axis[1], turn.axis[2]), 1, 1e-15);
        EXPECT_GE(turn.angle, 0);
        EXPECT_LE(turn.angle, std::numbers::pi);
        const double sine = std::sin(turn.angle / 2);
        const double sign = q.w < 0 ? -1 : 1;
        EXPECT_NEAR(std::cos(turn.angle / 2), sign * q.w, 1e-15);
        EXPECT_NEAR(turn.axis[0] * sine, sign * q.x, 1e-15);
        EXPECT_NEAR(turn.axis[2] * sine, sign * q.z, 1e-15);
    }
}

TEST(ScanPose, WritesRulesForTheTurnsThatHaveNoOneAxis) {
    const AxisAngle none = AxisAngleOf({-1, 0, 0, 0});
    EXPECT_EQ(none.axis, (std::array<double, 3>{0, 0, 1}));
    EXPECT_EQ(none.angle, 0);
    const AxisAngle half = AxisAngleOf({0, 0, -1, 0});
    EXPECT_EQ(half.axis, (std::array<double, 3>{0, 1, 0}));
    EXPECT_DOUBLE_EQ(half.angle, std::numbers::pi);
}

TEST(ScanPose, RefusesMatricesThatTurnNothing) {
    EXPECT_FALSE(RotationOf({{-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0}}));
    EXPECT_FALSE(RotationOf({{1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0}}));
    EXPECT_FALSE(Normalised({0, 0, 0, 0}));
    EXPECT_FALSE(Normalised({std::nan(""), 0, 0, 1}));
    EXPECT_TRUE(RotationOf({{2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0}}));
}

TEST(ScanPose, TurnsWithTheInputsAxes) {
    const ScanPose pose =
        InputAxes(LengthUnit::Millimetre, UpAxis::Y).ToWorld(ScanPose{{1000, 2000, 3000}, {}});
    EXPECT_EQ(pose.position.x, 3);
    EXPECT_EQ(pose.position.y, 1);
    const SimplePointT<double> up = MapOf({{}, pose.rotation})->Apply(0, 1, 0);
    EXPECT_NEAR(up.z, 1, 1e-15);
}

}  // namespace
}  // namespace orvix::importer::test
