// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/truncate.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace orvix::detail {
namespace {

constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kSmallest = std::numeric_limits<std::int32_t>::min();

TEST(TruncateTo, TurnsWhatDoesNotFitIntoTheSmallestInteger) {
    EXPECT_EQ(TruncateTo<std::int32_t>(1.75), 1);
    EXPECT_EQ(TruncateTo<std::int32_t>(-1.75), -1);
    EXPECT_EQ(TruncateTo<std::int32_t>(2147483647.5), kLargest);
    for (const double value : {2147483648.0, -2147483649.0, kInfinity, -kInfinity, kNoNumber})
        EXPECT_EQ(TruncateTo<std::int32_t>(value), kSmallest) << value;
}

TEST(SaturateTo, TurnsWhatDoesNotFitIntoTheNearestInteger) {
    EXPECT_EQ(SaturateTo<std::int32_t>(1.75), 1);
    EXPECT_EQ(SaturateTo<std::int32_t>(-1.75), -1);
    for (const double value : {2147483647.5, 2147483648.0, kInfinity})
        EXPECT_EQ(SaturateTo<std::int32_t>(value), kLargest) << value;
    for (const double value : {-2147483648.5, -2147483649.0, -kInfinity})
        EXPECT_EQ(SaturateTo<std::int32_t>(value), kSmallest) << value;
    EXPECT_EQ(SaturateTo<std::int64_t>(9.3e18), std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(SaturateTo<std::int32_t>(kNoNumber), 0);
}

TEST(FloorWithin, RoundsDownAndStaysWithinItsBound) {
    for (double value = -12; value < 12; value += 0.125) {
        const double floor = std::floor(value);
        EXPECT_EQ(FloorWithin(value, 100), static_cast<std::int64_t>(floor));
        EXPECT_EQ(FloorWithin(value, 5), static_cast<std::int64_t>(std::clamp(floor, -5.0, 5.0)));
    }
    EXPECT_EQ(FloorWithin(kInfinity, 5), 5);
    EXPECT_EQ(FloorWithin(-kInfinity, 5), -5);
    EXPECT_EQ(FloorWithin(kNoNumber, 5), -5);
}

}  // namespace
}  // namespace orvix::detail
