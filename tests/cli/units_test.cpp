// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <string>

#include "cli/progress_reporter.h"
#include "orvix/platform/amounts.h"

namespace orvix::cli {
namespace {

TEST(Amounts, ReadSizesInPowersOf1024And1000) {
    EXPECT_EQ(platform::ParseBytes("2000000"), 2'000'000u);
    EXPECT_EQ(platform::ParseBytes("512M"), 512u << 20);
    EXPECT_EQ(platform::ParseBytes("1GiB"), 1u << 30);
    EXPECT_EQ(platform::ParseBytes("1.5 gb"), 1'500'000'000u);
    EXPECT_EQ(platform::ParseBytes("2TB"), 2'000'000'000'000u);
    for (const char* text : {"", "GiB", "1X", "-1M", "1e30", "inf", "12 34", "1MBs"})
        EXPECT_FALSE(platform::ParseBytes(text)) << text;
}

TEST(Amounts, ReadPositionsOfThreeFiniteNumbers) {
    EXPECT_EQ(platform::ParsePosition("-2.5, 1e3,+0.25"),
              (std::array<double, 3>{-2.5, 1000, 0.25}));
    for (const char* text : {"", "1,2", "1,2,3,4", "1,2,x", "1,,3", "1,2,nan", "1 2 3"})
        EXPECT_FALSE(platform::ParsePosition(text)) << text;
}

TEST(Amounts, AreWrittenForPeople) {
    EXPECT_EQ(platform::CountText(0), "0");
    EXPECT_EQ(platform::CountText(999), "999");
    EXPECT_EQ(platform::CountText(1'000'000), "1,000,000");
    EXPECT_EQ(platform::BytesText(1023), "1023 bytes");
    EXPECT_EQ(platform::BytesText(3u << 30), "3.0 GiB");
    EXPECT_EQ(platform::HexText(0xABC), "0000000000000abc");
    EXPECT_EQ(DurationText(59.6), "1 min 0 s");
    EXPECT_EQ(DurationText(4800), "1 h 20 min");
}

TEST(ProgressBar, FitsItsLine) {
    const ProgressState state{"sorting", 0.5, 10, 1'234'567, 65};
    EXPECT_EQ(BarLine(state, 200), "[" + std::string(20, '#') + std::string(20, ' ') +
                                       "]  50 % sorting, 1,234,567 points, 1 min 5 s left");
    for (int columns = 1; columns < 120; ++columns)
        EXPECT_LE(static_cast<int>(BarLine(state, columns).size()), columns);
}

}  // namespace
}  // namespace orvix::cli
