// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/picture/deviation_picture.h"

#include <gtest/gtest.h>

#include "output/picture/consistency_picture.h"

namespace orvix::output {
namespace {

bool Same(Colour a, Colour b) {
    return a.r == b.r && a.g == b.g && a.b == b.b;
}

/// How many pixels of a part of the picture are nearly of a colour.
std::size_t Count(const Canvas& canvas, const PixelRect& part, Colour colour) {
    const std::vector<std::uint8_t> pixels = canvas.Finish();
    std::size_t count = 0;
    for (int y = static_cast<int>(part.top); y < part.top + part.height; ++y) {
        for (int x = static_cast<int>(part.left); x < part.left + part.width; ++x) {
            const std::uint8_t* p =
                pixels.data() + 3 * (static_cast<std::size_t>(y) * canvas.Width() + x);
            count += std::abs(p[0] - colour.r) < 12 && std::abs(p[1] - colour.g) < 12 &&
                     std::abs(p[2] - colour.b) < 12;
        }
    }
    return count;
}

TEST(DeviationColour, GoesFromBlueOverWhiteToRedAndStaysThere) {
    const Colour red = DeviationColour(0.02F, 0.02), blue = DeviationColour(-0.02F, 0.02);
    EXPECT_GT(red.r, 150);
    EXPECT_LT(red.b, 100);
    EXPECT_GT(blue.b, 150);
    EXPECT_LT(blue.r, 100);
    EXPECT_TRUE(Same(DeviationColour(1.0F, 0.02), red));
    EXPECT_TRUE(Same(DeviationColour(-1.0F, 0.02), blue));
    EXPECT_GT(DeviationColour(0.0F, 0.02).g, 220);
    const Colour none = DeviationColour(std::nullopt, 0.02);
    EXPECT_LT(std::abs(none.r - none.b), 20);
}

// A wall that faces south, seen from there and not from behind; one that nobody saw stands before it on
// the left half.
TEST(DrawDeviation, ShowsFacesFromTheirFrontWithTheNearestOnTop) {
    DeviationPicture picture;
    for (int x = 0; x < 40; ++x) {
        for (int z = 0; z < 30; ++z) {
            DeviationPicture::Square square;
            square.middle = {0.05 + x * 0.1, 0, 0.05 + z * 0.1};
            square.normal = {0, -1, 0};
            square.height = 0.02F;
            picture.squares.push_back(square);
            if (x >= 20) continue;
            square.middle.y = -0.5;
            square.height.reset();
            picture.squares.push_back(square);
        }
    }
    const PixelRect south{24, 978, 904, 690}, east{952, 978, 904, 690};
    const Colour red = DeviationColour(0.02F, 0.02), grey = DeviationColour(std::nullopt, 0.02);
    const Canvas canvas = DrawDeviation(picture);
    const std::size_t reds = Count(canvas, south, red), greys = Count(canvas, south, grey);
    EXPECT_GT(reds, 50'000u);
    EXPECT_NEAR(static_cast<double>(greys), static_cast<double>(reds),
                0.1 * static_cast<double>(reds));
    for (auto& square : picture.squares) square.normal = {0, 1, 0};
    EXPECT_EQ(Count(DrawDeviation(picture), south, red), 0u);
    for (auto& square : picture.squares) square.bothSides = true;
    EXPECT_GT(Count(DrawDeviation(picture), south, red), 50'000u);
    picture.cut = -1.0;  // above everything shown from above, and without a say from the side
    EXPECT_GT(Count(DrawDeviation(picture), south, red), 50'000u);
    EXPECT_EQ(Count(DrawDeviation(picture), {24, 198, 904, 700}, red), 0u);
    picture.squares.clear();
    EXPECT_EQ(Count(DrawDeviation(picture), east, red), 0u);
}

TEST(DrawConsistency, ShowsAnArrowThatPointsWhereAStationWouldGo) {
    ConsistencyPicture picture;
    for (int i = 0; i < 2500; ++i)
        picture.cloud.push_back({(i % 50) * 0.2, static_cast<double>(i / 50) * 0.2, 0});
    picture.stations = {{"west", {2, 5, 1.5}, detail::Vector{0.01, 0, 0}, true},
                        {"east", {8, 5, 1.5}, std::nullopt, false}};
    const Canvas canvas = DrawConsistency(picture);
    const Colour red{190, 24, 43};
    // The arrow runs to the right of its station, over half a metre of the plan and more.
    const std::size_t with = Count(canvas, {24, 168, 1352, 848}, red);
    EXPECT_GT(with, 200u);
    picture.stations[0].shift = detail::Vector{0.0001, 0, 0};
    EXPECT_LT(Count(DrawConsistency(picture), {24, 168, 1352, 848}, red), 5u);
    picture.stations.clear();
    picture.cloud.clear();
    EXPECT_EQ(DrawConsistency(picture).Width(), 1400);  // of nothing there is a picture, too
}

}  // namespace
}  // namespace orvix::output
