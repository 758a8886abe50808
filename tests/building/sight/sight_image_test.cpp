// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/sight/sight_image.h"

#include <gtest/gtest.h>

#include <cmath>
#include <thread>

#include "building/sight/rays.h"
#include "support/dice.h"

namespace orvix::building {
namespace {

using detail::Vector;
using detail::operator+, detail::operator*;

constexpr Vector kStation{10, -20, 1.5};

/// Directions to all sides, as many on each side of the cube.
std::vector<Vector> Directions(std::size_t count) {
    std::uint64_t state = 5;
    test::Dice dice(state);
    std::vector<Vector> ways;
    while (ways.size() < count) {
        const Vector way{2 * dice.Share() - 1, 2 * dice.Share() - 1, 2 * dice.Share() - 1};
        if (detail::Length(way) > 0.1) ways.push_back(detail::Unit(way));
    }
    return ways;
}

TEST(SightImage, SaysHowFarRaysWentInEveryDirection) {
    for (const Vector& way : Directions(500)) {
        SightImage image(kStation, 100);
        image.Add(kStation + way * 4);
        for (const double away : {0.001, 1.0, 4.0, 700.0}) {
            const Sight sight = image.Towards(kStation + way * away);
            ASSERT_TRUE(sight.Any());
            ASSERT_NEAR(sight.farthest, 4, 1e-5);
            ASSERT_NEAR(sight.nearest, 4, 1e-5);
        }
        ASSERT_FALSE(image.Towards(kStation + way * -1).Any());
    }
}

TEST(SightImage, APixelKeepsItsNearestAndItsFarthestEnd) {
    SightImage image(kStation, 100);
    for (const double away : {3.0, 1.25, 7.0, 2.0}) image.Add(kStation + Vector{away, 0.001, 0});
    const Sight sight = image.Towards(kStation + Vector{5, 0.001, 0});
    EXPECT_NEAR(sight.nearest, 1.25, 1e-5);
    EXPECT_NEAR(sight.farthest, 7, 1e-5);
}

// Thin scans leave gaps of one pixel, which those beside them fill; wider ones stay unknown.
TEST(SightImage, AnEmptyPixelTakesWhatLiesBesideItAndNoMore) {
    SightImage image(kStation, 100);
    const auto at = [](double pixels) {
        return kStation + Vector{5, 5 * (0.01 + 0.02 * pixels), 0.05};
    };
    image.Add(at(0));
    EXPECT_TRUE(image.Towards(at(1)).Any());
    EXPECT_TRUE(image.Towards(at(-1)).Any());
    EXPECT_FALSE(image.Towards(at(2)).Any());
    EXPECT_FALSE(image.Towards(at(-2)).Any());
    image.Add(at(2) + Vector{1, 0, 0});
    const Sight between = image.Towards(at(1));
    EXPECT_LT(between.nearest, 5.1);
    EXPECT_GT(between.farthest, 5.9);
}

TEST(SightImage, APointAtTheStationItselfIsNoSight) {
    SightImage image(kStation, 8);
    image.Add(kStation);
    for (const Vector& way : Directions(100)) ASSERT_FALSE(image.Towards(kStation + way).Any());
    EXPECT_FALSE(image.Towards(kStation).Any());
    image.Add(kStation + Vector{1e-300, 0, 0});
    image.Add(kStation + Vector{0, 0, 1e30});
    EXPECT_FALSE(image.Towards(kStation).Any());
}

TEST(SightImage, EdgesOfTheCubeHaveAPixel) {
    for (const double x : {-1.0, 0.0, 1.0})
        for (const double y : {-1.0, 0.0, 1.0})
            for (const double z : {-1.0, 0.0, 1.0}) {
                if (x == 0 && y == 0 && z == 0) continue;
                for (const std::uint32_t pixels : {1U, 2U, 77U}) {
                    SightImage image({}, pixels);
                    image.Add({2 * x, 2 * y, 2 * z});
                    const double away = 2 * std::sqrt(x * x + y * y + z * z);
                    ASSERT_NEAR(image.Towards({x, y, z}).farthest, away, 1e-5);
                }
            }
}

TEST(SightImage, HoldsTheSameWhoeverAddsFirst) {
    const std::vector<Vector> ways = Directions(20'000);
    const auto place = [&](std::size_t i) {
        return kStation + ways[i] * (1 + 0.001 * static_cast<double>(i % 5000));
    };
    SightImage one(kStation, 32), many(kStation, 32);
    for (std::size_t i = 0; i < ways.size(); ++i) one.Add(place(i));
    std::vector<std::thread> threads;
    for (std::size_t first = 0; first < 4; ++first)
        threads.emplace_back([&, first] {
            for (std::size_t i = ways.size() - 1 - first; i < ways.size(); i -= 4)
                many.Add(place(i));
        });
    for (std::thread& thread : threads) thread.join();
    for (const Vector& way : ways) {
        const Sight a = one.Towards(kStation + way), b = many.Towards(kStation + way);
        ASSERT_EQ(a.nearest, b.nearest);
        ASSERT_EQ(a.farthest, b.farthest);
    }
}

TEST(Rays, GoThroughAPlaceWhereTheyEndBehindIt) {
    SightImage first(Vector{0, 0, 0}, 100), second(Vector{0, 10, 0}, 100);
    const std::vector<const SightImage*> sights{&first, &second};
    first.Add({6, 0.001, 0.001});
    EXPECT_TRUE(RaysWentThrough(sights, {5, 0.001, 0.001}, 0.1, 20));
    EXPECT_FALSE(RaysWentThrough(sights, {5.95, 0.001, 0.001}, 0.1, 20)) << "at";
    EXPECT_FALSE(RaysWentThrough(sights, {7, 0.001, 0.001}, 0.1, 20)) << "before";
    EXPECT_FALSE(RaysWentThrough(sights, {5, 0.001, 0.001}, 0.1, 4)) << "out of reach";
    EXPECT_FALSE(RaysWentThrough(sights, {0, 5, 0}, 0.1, 20)) << "nothing came back";
    second.Add({5 * 3, 10 - 9.999 * 3, 0.003});
    EXPECT_TRUE(RaysWentThrough(sights, {5, 0.001, 0.001}, 0.1, 20)) << "of the other station";
}

}  // namespace
}  // namespace orvix::building
