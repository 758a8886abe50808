// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/drawing/picture_view.h"

#include <gtest/gtest.h>

namespace orvix::output {
namespace {

TEST(ScaleBar, HasARoundLength) {
    EXPECT_DOUBLE_EQ(RoundLength(7.3), 5);
    EXPECT_DOUBLE_EQ(RoundLength(4.99), 2);
    EXPECT_DOUBLE_EQ(RoundLength(0.19), 0.1);
    EXPECT_DOUBLE_EQ(RoundLength(1000), 1000);
    EXPECT_EQ(LengthText(2000), "2 km");
    EXPECT_EQ(LengthText(5), "5 m");
    EXPECT_EQ(LengthText(0.2), "20 cm");
    EXPECT_EQ(LengthText(0.005), "5 mm");
}

TEST(PictureView, ShowsAWallUprightAndUnmirrored) {
    PictureView view = PictureView::Facing({0, -1, 0});  // the viewer stands south, looks north
    view.Fit({-2, 2, -1, 1}, {0, 0, 400, 200});
    EXPECT_EQ(view.RightName(), "x");
    EXPECT_EQ(view.UpName(), "z");
    const Pixel2 east = view.Place({1, 0, 0}), high = view.Place({0, 0, 0.5});
    EXPECT_DOUBLE_EQ(east.x, 300);
    EXPECT_DOUBLE_EQ(east.y, 100);
    EXPECT_DOUBLE_EQ(high.y, 50);
    EXPECT_LT(view.Depth({0, -1, 0}), view.Depth({0, 1, 0}));
}

}  // namespace
}  // namespace orvix::output
