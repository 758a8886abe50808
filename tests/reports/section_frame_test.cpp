// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/section_frame.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace orvix::reports {
namespace {

using detail::Cross, detail::Dot, detail::Length, detail::Vector, detail::operator-;

void ExpectNear(const Vector& a, const Vector& b) {
    EXPECT_NEAR(a.x, b.x, 1e-8);
    EXPECT_NEAR(a.y, b.y, 1e-8);
    EXPECT_NEAR(a.z, b.z, 1e-8);
}

TEST(SectionFrame, OfAPlanHasTheWorldsXAndY) {
    const auto frame = SectionFrame::AtLevel(12.5);
    ASSERT_TRUE(frame);
    ExpectNear(frame->ToSection({770'500, 6'277'500, 12}), {770'500, 0.5, 6'277'500});
}

TEST(SectionFrame, OfTwoPlacesCountsFromTheFirstAndHasTheWorldsHeights) {
    const auto frame = SectionFrame::Through({770'500, 6'277'500, 770'503, 6'277'504});
    ASSERT_TRUE(frame);
    ExpectNear(frame->ToSection({770'503, 6'277'504, 7}), {5, 0, 7});
    // The first place is to the viewer's left: what lies to the left of the way is behind.
    EXPECT_GT(frame->ToSection({770'496, 6'277'503, 7}).y, 4.9);
}

TEST(SectionFrame, OfAnEquationOfAnySizeHasItsPlane) {
    for (const double factor : {1.0, 1e-200, 1e200, -3.0}) {
        const auto frame = SectionFrame::OfPlane({2 * factor, -factor, 2 * factor, -6e6 * factor});
        ASSERT_TRUE(frame) << factor;
        const auto e = frame->Equation();
        const double side = factor > 0 ? 1 : -1;
        EXPECT_NEAR(e[0], side * 2 / 3, 1e-12);
        EXPECT_NEAR(e[1], side * -1 / 3, 1e-12);
        EXPECT_NEAR(e[3], side * -2e6, 1e-6);
        EXPECT_NEAR(Length(frame->right), 1, 1e-12);
        ExpectNear(Cross(frame->right, frame->away), frame->up);
        EXPECT_EQ(frame->right.z, 0);
        EXPECT_GT(frame->up.z, 0);
        // The nearest place of the plane to zero is that in the normal's direction.
        ExpectNear(Cross(frame->origin, frame->away), {0, 0, 0});
    }
}

TEST(SectionFrame, IsRefusedWhereThereIsNoPlane) {
    constexpr double kInfinite = std::numeric_limits<double>::infinity();
    EXPECT_FALSE(SectionFrame::OfPlane({0, 0, 0, 1}));
    EXPECT_FALSE(SectionFrame::OfPlane({1, 0, 0, 1e10}));
    EXPECT_FALSE(SectionFrame::OfPlane({1e-300, 0, 0, 1e300}));
    EXPECT_FALSE(SectionFrame::OfPlane({kInfinite, 0, 0, 1}));
    EXPECT_FALSE(SectionFrame::OfPlane({std::nan(""), 0, 1, 1}));
    EXPECT_FALSE(SectionFrame::Through({1, 2, 1, 2}));
    EXPECT_FALSE(SectionFrame::Through({1, 2, kInfinite, 2}));
    EXPECT_FALSE(SectionFrame::AtLevel(kInfinite));
}

}  // namespace
}  // namespace orvix::reports
