// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/cells/wall_between.h"

#include <gtest/gtest.h>

#include <cmath>

namespace orvix::detection {
namespace {

constexpr double kSize = 0.1;

/// Whether a wall parts a floor's cells at x = 0 and x = 0.4 where cells of these heights are blocked.
template <class IsHeight>
bool IsParted(const IsHeight& atLeft, const IsHeight& atRight) {
    return IsWallBetween({0, 0, 0}, {0.4, 0, 0}, {0, 0, 1}, kSize,
                         [&](const Vector& at, const Vector& across) {
                             EXPECT_NEAR(across.x, 1, 1e-12);
                             const auto step = static_cast<int>(std::lround(at.z / kSize));
                             return at.x < 0.2 ? atLeft(step) : atRight(step);
                         });
}

// BEHAVIOUR A5
TEST(WallBetween, IsWhatRisesFromARimToOneSide) {
    using Heights = bool (*)(int);
    const Heights wall = [](int step) { return step >= 2; };
    const Heights below = [](int step) { return step <= -2; };
    const Heights pierced = [](int step) { return step >= 2 && step != 4; };
    const Heights table = [](int step) { return step == 4 || step == 5; };
    const Heights open = [](int) { return false; };
    EXPECT_TRUE(IsParted(wall, wall));
    EXPECT_TRUE(IsParted(below, below));
    EXPECT_TRUE(IsParted(pierced, wall));
    EXPECT_FALSE(IsParted(open, wall));
    EXPECT_FALSE(IsParted(table, table));
    EXPECT_FALSE(IsParted(wall, below)) << "not to the same side";
    EXPECT_FALSE(IsParted(open, open));
}

// BEHAVIOUR A5
TEST(WallBetween, DoesNotRunAlongTheGap) {
    EXPECT_TRUE(StandsAcross({-1, 0, 0}, {1, 0, 0}));
    EXPECT_TRUE(StandsAcross({0.6, 0.8, 0}, {1, 0, 0}));
    EXPECT_FALSE(StandsAcross({0, 1, 0}, {1, 0, 0}));
}

}  // namespace
}  // namespace orvix::detection
