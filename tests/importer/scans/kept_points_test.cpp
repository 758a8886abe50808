// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/scans/kept_points.h"

#include <gtest/gtest.h>

namespace orvix::importer {
namespace {

// BEHAVIOUR I20
TEST(KeptPoints, KeepsNothingAfterAPieceWithoutRoom) {
    KeptPoints kept(1 << 20);
    const auto first = kept.Take(100);
    ASSERT_TRUE(first);
    kept.Add({0, 0, 0, *first}, {}, first);
    // Another thread's piece has room before the one without is added, and is given back with it.
    const auto third = kept.Take(100);
    ASSERT_TRUE(third);
    kept.Add({1, 0, 0, {}}, {}, std::nullopt);
    EXPECT_FALSE(kept.Take(100));
    EXPECT_FALSE(kept.Take(0));
    kept.Add({2, 0, 0, *third}, {}, third);
    ASSERT_EQ(kept.Pieces().size(), 1U);
    ASSERT_TRUE(kept.End());
    EXPECT_EQ(kept.End()->input, 1U);
    kept.Release(kept.Pieces()[0]);
}

}  // namespace
}  // namespace orvix::importer
