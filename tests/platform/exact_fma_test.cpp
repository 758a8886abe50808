// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/win32/exact_fma.h"

#include <gtest/gtest.h>

#include <bit>
#include <cfenv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>

namespace orvix::platform::detail {
namespace {

using Limits = std::numeric_limits<double>;

constexpr double kHuge = Limits::max();
constexpr double kTiny = Limits::denorm_min();

bool SameBits(double a, double b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b) ||
           (std::isnan(a) && std::isnan(b));
}

TEST(ExactFma, RoundsOnce) {
    constexpr double kUlp = Limits::epsilon();
    EXPECT_EQ(ExactFma(1 + kUlp, 1 - kUlp, -1), -kUlp * kUlp);
    EXPECT_EQ(ExactFma(0.1, 10, -1), 0x1p-54);
    EXPECT_EQ(ExactFma(1 + kUlp, 1 + kUlp, kTiny), 1 + 2 * kUlp);
    EXPECT_EQ(ExactFma(0x1.0000001p0, 0x1.000001p0, 0x1p-54), 0x1.00000110000011p0);
    EXPECT_EQ(ExactFma(0x1.0000001p0, 0x1.000001p0, 0), 0x1.000001100000100p0);
}

TEST(ExactFma, KeepsItsEdges) {
    EXPECT_EQ(ExactFma(kHuge, 2, -kHuge), kHuge);
    EXPECT_EQ(ExactFma(kHuge, 2, 0), Limits::infinity());
    EXPECT_EQ(ExactFma(kHuge, 1, kHuge * 0x1p-53), Limits::infinity());
    EXPECT_EQ(ExactFma(-kHuge, 2, -1), -Limits::infinity());
    EXPECT_EQ(ExactFma(kTiny, 0.5, kTiny), 2 * kTiny);  // half a last digit: to even
    EXPECT_EQ(ExactFma(kTiny, 0.25, kTiny), kTiny);
    EXPECT_EQ(ExactFma(kTiny, kTiny, -kTiny), -kTiny);
    EXPECT_TRUE(SameBits(ExactFma(2, 3, -6), 0.0));
    EXPECT_TRUE(SameBits(ExactFma(-0.0, 3, -0.0), -0.0));
    EXPECT_TRUE(SameBits(ExactFma(-kTiny, kTiny, 0), -0.0));
    EXPECT_TRUE(std::isnan(ExactFma(Limits::infinity(), 0, 1)));
    EXPECT_TRUE(std::isnan(ExactFma(Limits::infinity(), 1, -Limits::infinity())));
    EXPECT_EQ(ExactFma(1, 1, -Limits::infinity()), -Limits::infinity());
}

TEST(ExactFma, FollowsTheRoundingMode) {
    for (const int mode : {FE_TONEAREST, FE_DOWNWARD, FE_UPWARD, FE_TOWARDZERO}) {
        const volatile double third = 1.0 / 3, one = 1;
        std::fesetround(mode);
        const double fused = ExactFma(third, third, one);
        const double zero = ExactFma(one, one, -one);
        std::fesetround(FE_TONEAREST);
        const bool up = mode == FE_UPWARD || mode == FE_TONEAREST;
        EXPECT_EQ(fused > 1.111111111111111, up) << std::hexfloat << fused;
        EXPECT_TRUE(SameBits(zero, mode == FE_DOWNWARD ? -0.0 : 0.0));
    }
}

/// Numbers of any exponent, of near ones so that digits meet, and of special ones.
double AnyNumber(std::mt19937_64& random) {
    const std::uint64_t bits = random();
    switch (random() % 8) {
        case 0:
            return std::bit_cast<double>(bits);
        case 1:
            return std::bit_cast<double>(bits & 0x800FFFFFFFFFFFFF);  // subnormal
        case 2:
            return std::bit_cast<double>(bits & 0xFFF8000000000007);  // few digits
        default:
            return std::ldexp(
                std::bit_cast<double>((bits & 0x800FFFFFFFFFFFFF) | 0x3FF0000000000000),
                static_cast<int>(random() % 120) - 60);
    }
}

// On Linux the C library's function is exact; on Windows the library's own stands in its place,
// which uses the instruction where the processor has it.
TEST(ExactFma, AgreesWithTheCLibrarysAsLinked) {
    const std::uint64_t seed = 20240229;
    SCOPED_TRACE(seed);
    std::mt19937_64 random(seed);
    for (int i = 0; i < 2'000'000; ++i) {
        const double x = AnyNumber(random), y = AnyNumber(random);
        double z = AnyNumber(random);
        if (i % 4 == 0) z = -x * y * (1 + static_cast<double>(i % 7) * Limits::epsilon());
        ASSERT_TRUE(SameBits(ExactFma(x, y, z), std::fma(x, y, z)))
            << std::hexfloat << x << ' ' << y << ' ' << z;
    }
}

}  // namespace
}  // namespace orvix::platform::detail
