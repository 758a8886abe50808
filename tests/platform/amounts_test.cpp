// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/amounts.h"

#include <gtest/gtest.h>

namespace orvix::platform {
namespace {

TEST(Amounts, ReadSizesInPowersOf1024And1000) {
    EXPECT_EQ(ParseBytes("2000000"), 2'000'000u);
    EXPECT_EQ(ParseBytes("512M"), 512u << 20);
    EXPECT_EQ(ParseBytes("1GiB"), 1u << 30);
    EXPECT_EQ(ParseBytes("1.5 gb"), 1'500'000'000u);
    EXPECT_EQ(ParseBytes("2TB"), 2'000'000'000'000u);
    for (const char* text : {"", "GiB", "1X", "-1M", "1e30", "inf", "12 34", "1MBs"})
        EXPECT_FALSE(ParseBytes(text)) << text;
}

TEST(Amounts, ReadPositionsOfThreeFiniteNumbers) {
    EXPECT_EQ(ParsePosition("-2.5, 1e3,+0.25"), (std::array<double, 3>{-2.5, 1000, 0.25}));
    for (const char* text : {"", "1,2", "1,2,3,4", "1,2,x", "1,,3", "1,2,nan", "1 2 3"})
        EXPECT_FALSE(ParsePosition(text)) << text;
}

TEST(Amounts, AreWrittenForPeople) {
    EXPECT_EQ(CountText(0), "0");
    EXPECT_EQ(CountText(999), "999");
    EXPECT_EQ(CountText(1'000'000), "1,000,000");
    EXPECT_EQ(BytesText(1023), "1023 bytes");
    EXPECT_EQ(BytesText(3u << 30), "3.0 GiB");
    EXPECT_EQ(HexText(0xABC), "0000000000000abc");
}

}  // namespace
}  // namespace orvix::platform
