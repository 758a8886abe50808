// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <string>

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

}  // namespace
}  // namespace orvix::cli
