// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/geometry/sine_cosine.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>
#include <random>

namespace orvix::detail {
namespace {

TEST(SineCosine, IsWithinAUnitInTheLastPlaceOfTheCLibrarys) {
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> wide(-1000, 1000);
    std::uniform_real_distribution<double> turn(-std::numbers::pi, std::numbers::pi);
    constexpr double kUnit = std::numeric_limits<double>::epsilon();
    // A library that leaves the reduction to the processor has a pi of 66 bits to subtract, which
    // is off by this much after 640 quarter turns.
    constexpr double kShortPi = 2e-18;
    for (int i = 0; i < 200'000; ++i) {
        const double angle = i % 2 == 0 ? wide(random) : turn(random);
        const SineCosine own = SineCosineOf(angle);
        EXPECT_NEAR(own.sine, std::sin(angle), kUnit * std::fabs(own.sine) + kShortPi) << angle;
        EXPECT_NEAR(own.cosine, std::cos(angle), kUnit * std::fabs(own.cosine) + kShortPi) << angle;
    }
    EXPECT_EQ(SineCosineOf(0).sine, 0);
    EXPECT_EQ(SineCosineOf(0).cosine, 1);
    EXPECT_TRUE(std::isnan(SineCosineOf(1001).sine));
    EXPECT_TRUE(std::isnan(SineCosineOf(std::nan("")).cosine));
}

TEST(SineCosine, GivesTheSameBitsOnEverySystem) {
    std::uint64_t digest = 0;
    for (int i = -100'000; i <= 100'000; ++i) {
        const SineCosine own = SineCosineOf(i * 0.0078125);
        digest = digest * 1'099'511'628'211U + std::bit_cast<std::uint64_t>(own.sine);
        digest = digest * 1'099'511'628'211U + std::bit_cast<std::uint64_t>(own.cosine);
    }
    EXPECT_EQ(digest, 0x4550b9677e9f24f2U);
}

}  // namespace
}  // namespace orvix::detail
