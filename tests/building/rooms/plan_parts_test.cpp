// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/rooms/plan_parts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "building/plan_grid.h"
#include "building/plan_measures.h"
#include "support/dice.h"

namespace orvix::building {
namespace {

PlanRing Rectangle(double left, double bottom, double right, double top) {
    return {{left, bottom}, {right, bottom}, {right, top}, {left, top}};
}

double SumOf(const std::vector<PlanRing>& parts) {
    double sum = 0;
    for (const PlanRing& part : parts) sum += AreaOf(part);
    return sum;
}

PlanPoint Way(double degrees) {
    const double angle = degrees * std::numbers::pi / 180;
    return {std::cos(angle), std::sin(angle)};
}

TEST(PartBehind, KeepsWhatLiesBehindALine) {
    const PlanRing square = Rectangle(0, 0, 4, 3);
    EXPECT_NEAR(AreaOf(PartBehind(square, {1, 0}, 1)), 3, 1e-9);
    EXPECT_NEAR(AreaOf(PartBehind(square, {-1, 0}, -1)), 9, 1e-9);
    const double half = std::sqrt(0.5);
    const PlanRing corner = PartBehind(square, {half, half}, half);
    EXPECT_EQ(corner.size(), 3U);
    EXPECT_NEAR(AreaOf(corner), 0.5, 1e-9);
}

TEST(PartBehind, ALineAlongASideOrThroughACornerTakesNothingOrAll) {
    const PlanRing square = Rectangle(0, 0, 4, 3);
    EXPECT_NEAR(AreaOf(PartBehind(square, {1, 0}, 4)), 12, 1e-9);
    EXPECT_NEAR(AreaOf(PartBehind(square, {1, 0}, 9)), 12, 1e-9);
    EXPECT_TRUE(PartBehind(square, {-1, 0}, -4).empty());
    EXPECT_TRUE(PartBehind(square, {1, 0}, -1).empty());
    const double half = std::sqrt(0.5);
    EXPECT_TRUE(PartBehind(square, {half, half}, 0).empty());
    // Through two corners that face each other.
    EXPECT_NEAR(AreaOf(PartBehind(square, {-0.6, 0.8}, 0)), 6, 1e-9);
}

TEST(CutParts, LosesAndDoublesNothing) {
    for (std::uint64_t seed = 1; seed <= 30; ++seed) {
        std::uint64_t state = seed;
        test::Dice dice(state);
        std::vector<PlanRing> parts{Rectangle(-5, -4, 5, 4)};
        for (int line = 0; line < 12; ++line)
            CutParts(parts, Way(360 * dice.Share()), 4 * dice.Share());
        ASSERT_GT(parts.size(), 12U) << "seed " << seed;
        EXPECT_NEAR(SumOf(parts), 80, 1e-6) << "seed " << seed;
        const auto whole = JoinParts(parts);
        ASSERT_TRUE(whole) << "seed " << seed;
        EXPECT_EQ(whole->outer.size(), 4U) << "seed " << seed;
        EXPECT_NEAR(NetAreaOf(*whole), 80, 1e-4) << "seed " << seed;
        EXPECT_TRUE(whole->holes.empty()) << "seed " << seed;
    }
}

TEST(CutParts, DropsSliversThinnerThanAMicrometre) {
    std::vector<PlanRing> parts{Rectangle(0, 0, 1, 1)};
    CutParts(parts, {1, 0}, 0.5);
    CutParts(parts, {1, 0}, 0.5 + 4e-7);
    CutParts(parts, {1, 0}, 0.5 - 4e-7);
    EXPECT_EQ(parts.size(), 2U);
    EXPECT_NEAR(SumOf(parts), 1, 1e-5);
}

TEST(JoinParts, AnOutlineHasNoCornersOnStraightSides) {
    // An L, of three parts, one of them cut across.
    std::vector<PlanRing> parts{Rectangle(0, 0, 2, 1), Rectangle(2, 0, 3, 1),
                                Rectangle(0, 1, 2, 3)};
    const auto joined = JoinParts(parts);
    ASSERT_TRUE(joined);
    EXPECT_EQ(joined->outer.size(), 6U);
    EXPECT_NEAR(AreaOf(joined->outer), 7, 1e-9);
}

TEST(JoinParts, APillarIsAHoleAndASpeckIsNone) {
    const auto around = [](double half) {
        std::vector<PlanRing> parts{Rectangle(0, 0, 4, 4)};
        for (const double at : {2 - half, 2 + half}) {
            CutParts(parts, {1, 0}, at);
            CutParts(parts, {0, 1}, at);
        }
        std::erase_if(parts, [](const PlanRing& part) {
            const PlanPoint p = MiddleOf(part);
            return std::abs(p.x - 2) < 0.01 && std::abs(p.y - 2) < 0.01;
        });
        EXPECT_EQ(parts.size(), 8U);
        return JoinParts(parts);
    };
    const auto pillar = around(0.2);
    ASSERT_TRUE(pillar);
    ASSERT_EQ(pillar->holes.size(), 1U);
    EXPECT_EQ(pillar->outer.size(), 4U);
    EXPECT_NEAR(AreaOf(pillar->outer), 16, 1e-9);
    EXPECT_NEAR(AreaOf(pillar->holes[0]), -0.16, 1e-9);
    const auto speck = around(0.05);
    ASSERT_TRUE(speck);
    EXPECT_TRUE(speck->holes.empty());
}

TEST(JoinParts, PartsThatTouchAtACornerAreNotOne) {
    std::vector<PlanRing> parts{Rectangle(0, 0, 1, 1), Rectangle(1, 1, 3, 3)};
    const auto joined = JoinParts(parts);
    ASSERT_TRUE(joined);
    EXPECT_EQ(parts.size(), 1U);
    EXPECT_NEAR(NetAreaOf(*joined), 4, 1e-9);
}

// Sixteen squares without two that touch at a corner.
TEST(JoinParts, HolesThatTouchAtACornerStayApart) {
    std::vector<PlanRing> parts{Rectangle(0, 0, 4, 4)};
    for (const double at : {1.0, 2.0, 3.0}) {
        CutParts(parts, {1, 0}, at);
        CutParts(parts, {0, 1}, at);
    }
    ASSERT_EQ(parts.size(), 16U);
    std::erase_if(parts, [](const PlanRing& part) {
        const PlanPoint p = MiddleOf(part);
        return (p.x > 1 && p.x < 2 && p.y > 1 && p.y < 2) ||
               (p.x > 2 && p.x < 3 && p.y > 2 && p.y < 3);
    });
    const auto joined = JoinParts(parts);
    ASSERT_TRUE(joined);
    EXPECT_NEAR(NetAreaOf(*joined), 14, 1e-9);
    EXPECT_EQ(joined->holes.size(), 2U);
}

// A notch in the right side touches the hole at a corner.
TEST(JoinParts, AHoleThatTouchesTheOutlineAtACornerIsAHole) {
    std::vector<PlanRing> parts{Rectangle(0, 0, 3, 4)};
    for (const double at : {1.0, 2.0, 3.0}) {
        CutParts(parts, {1, 0}, at);
        CutParts(parts, {0, 1}, at);
    }
    std::erase_if(parts, [](const PlanRing& part) {
        const PlanPoint p = MiddleOf(part);
        return (p.x > 1 && p.x < 2 && p.y > 1 && p.y < 2) || (p.x > 2 && p.y > 2 && p.y < 3);
    });
    const auto joined = JoinParts(parts);
    ASSERT_TRUE(joined);
    EXPECT_EQ(joined->outer.size(), 8U);
    EXPECT_NEAR(AreaOf(joined->outer), 11, 1e-9);
    ASSERT_EQ(joined->holes.size(), 1U);
    EXPECT_NEAR(AreaOf(joined->holes[0]), -1, 1e-9);
}

TEST(JoinParts, KeepsTheLargestOfTwoPieces) {
    std::vector<PlanRing> parts{Rectangle(0, 0, 1, 1), Rectangle(5, 0, 6, 1),
                                Rectangle(6, 0, 9, 1)};
    const auto joined = JoinParts(parts);
    ASSERT_TRUE(joined);
    EXPECT_EQ(parts.size(), 2U);
    EXPECT_NEAR(NetAreaOf(*joined), 4, 1e-9);
    std::vector<PlanRing> none;
    EXPECT_FALSE(JoinParts(none));
}

// Far from the origin, as where a project's frame lies aside of the building.
TEST(JoinParts, CrossingsFromBothSidesAreOneCornerAlsoFarAway) {
    const PlanPoint middle{5000, -3000};
    std::vector<PlanRing> parts{Rectangle(middle.x - 4, middle.y - 3, middle.x + 4, middle.y + 3)};
    for (int k = 0; k < 7; ++k) {
        const PlanPoint way = Way(13 + 25.7 * k);
        CutParts(parts, way, way.x * middle.x + way.y * middle.y + 0.3 * k - 1);
    }
    const auto joined = JoinParts(parts);
    ASSERT_TRUE(joined);
    EXPECT_EQ(joined->outer.size(), 4U);
    EXPECT_NEAR(NetAreaOf(*joined), 48, 1e-3);
}

}  // namespace
}  // namespace orvix::building
