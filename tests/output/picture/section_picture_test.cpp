// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/picture/section_picture.h"

#include <gtest/gtest.h>

#include "output/picture/picture_of_section.h"

namespace orvix::output {
namespace {

SectionPlaces Walls() {
    SectionPlaces places;
    for (int i = 0; i <= 4000; ++i) places.push_back({8.0 * i / 4000, i % 2 == 0 ? 0.0 : 3.0});
    return places;
}

// BEHAVIOUR C20
TEST(FrameOfPlaces, LeavesOutStraysAndKeepsWhatIsNear) {
    SectionPlaces places = Walls();
    for (int i = 0; i < 10; ++i) places.push_back({500.0 + i, -200});
    for (int i = 0; i < 10; ++i) places.push_back({9.5, 1});
    const ViewBounds frame = FrameOfPlaces(places);
    EXPECT_EQ(frame.left, 0);
    EXPECT_EQ(frame.right, 9.5);
    EXPECT_EQ(frame.bottom, 0);
    EXPECT_EQ(frame.top, 3);
    const ViewBounds one = FrameOfPlaces({{7'000'000, 3}});
    EXPECT_EQ(one.left, 7'000'000);
    EXPECT_EQ(one.top, 3);
}

SectionSheet SheetOf(const ViewBounds& shown) {
    return {.view = PictureView::Along({1, 0, 0}, {0, 0, 1}), .shown = shown, .spacing = 0.01};
}

int GreyAt(const Canvas& canvas, const Pixel2& at) {
    const auto row = static_cast<std::size_t>(at.y), column = static_cast<std::size_t>(at.x);
    return canvas.Finish()[(row * static_cast<std::size_t>(canvas.Width()) + column) * 3];
}

TEST(SectionDrawing, FadesWithTheDistanceOfWhatIsSeen) {
    // Seven digits before the point, as eastings and northings have.
    SectionDrawing drawing(SheetOf({6'277'500, 6'277'508, 0, 4}));
    const auto patch = [&drawing](double x, double distance) {
        for (int i = 0; i < 400; ++i) {
            const double u = x + 0.05 * (i % 20), z = 1 + 0.05 * (i / 20);
            if (distance == 0) drawing.AddIn(u, z);
            if (distance != 0) drawing.AddBehind(u, z, distance);
        }
    };
    patch(6'277'501, 20);
    patch(6'277'503, 25);
    patch(6'277'505, 30);
    patch(6'277'505, 28);   // before the one at 30
    patch(6'277'501.5, 0);  // before all
    const Pixel2 near = drawing.PlaceOf(6'277'501.2, 1.5),
                 middle = drawing.PlaceOf(6'277'503.5, 1.5),
                 far = drawing.PlaceOf(6'277'505.5, 1.5), in = drawing.PlaceOf(6'277'501.7, 1.5),
                 none = drawing.PlaceOf(6'277'507.3, 1.7);
    const Canvas canvas = drawing.Finish();
    EXPECT_LT(GreyAt(canvas, in), 45);
    EXPECT_LT(GreyAt(canvas, near), GreyAt(canvas, middle) - 15);
    EXPECT_LT(GreyAt(canvas, middle), GreyAt(canvas, far) - 15);
    EXPECT_GT(GreyAt(canvas, none), 250);
}

TEST(SectionDrawing, IsAsHighAsItsContentAndNoWiderThanAsked) {
    const Canvas wide = SectionDrawing(SheetOf({0, 100, 0, 40})).Finish();
    EXPECT_EQ(wide.Width(), 1400);
    EXPECT_NEAR(wide.Height(), 1400 * 0.4, 190);
    const Canvas flat = SectionDrawing(SheetOf({0, 1000, 0, 1})).Finish();
    EXPECT_GT(flat.Height(), 400);
    const Canvas tall = SectionDrawing(SheetOf({0, 3, -200, 100})).Finish();
    EXPECT_EQ(tall.Width(), 1000);
    EXPECT_LT(tall.Height(), 1600);
    // People write bounds like these for "all heights".
    const Canvas endless = SectionDrawing(SheetOf({0, 1, -1e9, 1e9})).Finish();
    EXPECT_LT(endless.Height(), 1600);
    EXPECT_LT(SectionDrawing(SheetOf({-1e9, 1e9, 0, 1e-3})).Finish().Width(), 1500);
}

}  // namespace
}  // namespace orvix::output
