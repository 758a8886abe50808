// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <string>

#include "cli/printable.h"
#include "cli/progress_reporter.h"

namespace orvix::cli {
namespace {

TEST(Durations, AreWrittenForPeople) {
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

// BEHAVIOUR C14
TEST(Printable, SpellsOutWhatATerminalWouldObey) {
    EXPECT_EQ(Printable("plain \\ text, \xc3\xa4, \xe2\x82\xac, \xf0\x9f\x98\x80\n\tnext"),
              "plain \\ text, \xc3\xa4, \xe2\x82\xac, \xf0\x9f\x98\x80\n\tnext");
    EXPECT_EQ(Printable("\x1b[2J\r\x7f"), "\\x1b[2J\\x0d\\x7f");
    EXPECT_EQ(Printable("\xc2\x9b"
                        "31m"),
              "\\u009b31m")
        << "a control sequence in one letter";
    EXPECT_EQ(Printable("\xe2\x80\xae"
                        "txt"),
              "\\u202etxt")
        << "turns the line around";
    EXPECT_EQ(Printable("\x9b"
                        "31m \xc3"),
              "\\x9b31m \\xc3")
        << "no UTF-8";
    EXPECT_EQ(Printable("\xc0\xaf \xed\xa0\x80"), "\\xc0\\xaf \\xed\\xa0\\x80")
        << "longer than needed; half a pair";
    EXPECT_EQ(PrintableName("two\nlines"), "two\\x0alines");
}

}  // namespace
}  // namespace orvix::cli
