// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/drawing/letters.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "output/drawing/canvas.h"

namespace orvix::output {
namespace {

TEST(Letters, AreReadFromUtf8) {
    EXPECT_EQ(LettersOf("m\u00b2 \u0416 \U0001F600"), U"m\u00b2 \u0416 \U0001F600");
    EXPECT_EQ(LettersOf(""), U"");
    EXPECT_EQ(LettersOf("a\xE9").size(), 2u);
}

TEST(Letters, OfAllLanguagesOfTheMessagesAreThere) {
    const auto missing = DrawLetter(U'\uFFFD', 40).coverage;
    for (const char32_t letter :
         U"AZaz09\u00e4\u00df\u00e9\u00f1\u00b2\u00b3\u00b0\u2013\u2212\u0416\u03c0\u0142")
        if (letter != 0) {
            EXPECT_NE(DrawLetter(letter, 40).coverage, missing)
                << static_cast<std::uint32_t>(letter);
        }
}

TEST(Letters, ThatTheTypefaceLacksAreDrawnAsOneSign) {
    const Letter sign = DrawLetter(U'\uFFFD', 40);
    EXPECT_GT(sign.width, 10);
    for (const char32_t letter : {U'\u4E2D', U'\U0001F600', char32_t{0xDCE9}}) {
        EXPECT_EQ(DrawLetter(letter, 40).coverage, sign.coverage);
        EXPECT_EQ(AdvanceOf(letter), AdvanceOf(U'\uFFFD'));
    }
}

TEST(Letters, StandOnTheBaseLineAtTheHeightOfACapital) {
    const Letter h = DrawLetter(U'H', 2048);
    EXPECT_EQ(h.top + h.height, 0);
    EXPECT_EQ(h.height, kCapitalHeight * 2048);
    EXPECT_EQ(DrawLetter(U' ', 1000).coverage.size(), 0u);
    EXPECT_GT(AdvanceOf(U' '), 0.2);
}

// FNV-1a of a picture's bytes.
std::uint64_t HashOf(const Canvas& canvas) {
    std::uint64_t hash = 14695981039346656037u;
    for (const std::uint8_t byte : canvas.Finish()) hash = (hash ^ byte) * 1099511628211u;
    return hash;
}

TEST(CanvasText, IsTheSameOnEverySystem) {
    Canvas canvas(400, 60, {255, 255, 255});
    canvas.Text({4.3, 6.8}, "Plane of 273.58 m\u00b2, Gr\u00f6\u00dfe 5 \u00b0", 18, {28, 36, 48});
    canvas.Text({396, 34}, "-20 mm", 28, {200, 36, 48}, Align::Right);
    EXPECT_EQ(HashOf(canvas), 328238722144730601u);
}

TEST(CanvasText, IsCutOffAtThePicturesEdges) {
    Canvas canvas(20, 10, {255, 255, 255});
    for (const double x : {-30.0, -3.0, 15.0, 50.0})
        for (const double y : {-30.0, -3.0, 5.0, 50.0}) canvas.Text({x, y}, "WWW", 18, {0, 0, 0});
    EXPECT_EQ(canvas.Finish().size(), 20u * 10 * 3);
}

TEST(CanvasText, EndsWhereItIsAlignedTo) {
    const double width = TextWidth("12,345 points", 18);
    EXPECT_NEAR(width, 117, 10);
    Canvas left(200, 30, {255, 255, 255}), right = left, centre = left;
    left.Text({20, 5}, "12,345 points", 18, {0, 0, 0});
    right.Text({20 + width, 5}, "12,345 points", 18, {0, 0, 0}, Align::Right);
    centre.Text({20 + width / 2, 5}, "12,345 points", 18, {0, 0, 0}, Align::Centre);
    EXPECT_EQ(left.Finish(), right.Finish());
    EXPECT_EQ(left.Finish(), centre.Finish());
}

}  // namespace
}  // namespace orvix::output
