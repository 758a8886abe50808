// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <set>
#include <string>

#include "detection/outlines/rim_straightener.h"
#include "detection/outlines/rim_tracer.h"

namespace orvix::detection {
namespace {

using Filled = std::function<bool(int, int)>;

PlaneRaster RasterOf(int width, int height, const Filled& filled) {
    PlaneRaster raster({{0, 0}, {static_cast<double>(width), static_cast<double>(height)}}, 1);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            if (filled(x, y)) raster.Mark({x + 0.5, y + 0.5});
    return raster;
}

// Rows of text, the upper one first.
PlaneRaster RasterOf(const std::vector<std::string>& rows) {
    const auto height = static_cast<int>(rows.size());
    return RasterOf(static_cast<int>(rows[0].size()), height, [&](int x, int y) {
        return rows[static_cast<std::size_t>(height - 1 - y)][static_cast<std::size_t>(x)] == '#';
    });
}

const RimCorner& After(const Rim& rim, std::size_t i) {
    return rim.corners[(i + 1) % rim.corners.size()];
}

bool Contains(const Rim& rim, double x, double y) {
    bool inside = false;
    for (std::size_t i = 0; i < rim.corners.size(); ++i) {
        const auto ax = static_cast<double>(rim.corners[i].x),
                   bx = static_cast<double>(After(rim, i).x);
        const auto ay = static_cast<double>(rim.corners[i].y),
                   by = static_cast<double>(After(rim, i).y);
        if ((ay > y) != (by > y) && x < ax + (y - ay) / (by - ay) * (bx - ax)) inside = !inside;
    }
    return inside;
}

std::set<std::size_t> AroundOf(const std::vector<Rim>& rims, std::size_t rim) {
    std::set<std::size_t> around;
    for (std::size_t i = rims[rim].parent; i != kNoRim; i = rims[i].parent) around.insert(i);
    return around;
}

double LengthOf(const Rim& rim) {
    double length = 0;
    for (std::size_t i = 0; i < rim.corners.size(); ++i)
        length +=
            std::hypot(After(rim, i).x - rim.corners[i].x, After(rim, i).y - rim.corners[i].y);
    return length;
}

double AwayFrom(const RimCorner& p, const RimCorner& a, const RimCorner& b) {
    const auto dx = static_cast<double>(b.x - a.x), dy = static_cast<double>(b.y - a.y);
    const auto px = static_cast<double>(p.x - a.x), py = static_cast<double>(p.y - a.y);
    const double share = std::clamp((px * dx + py * dy) / (dx * dx + dy * dy), 0.0, 1.0);
    return std::hypot(px - share * dx, py - share * dy);
}

int SideOf(const RimCorner& p, const RimCorner& a, const RimCorner& b) {
    const std::int64_t cross = (b.x - a.x) * (p.y - a.y) - (b.y - a.y) * (p.x - a.x);
    return cross > 0 ? 1 : cross < 0 ? -1 : 0;
}

// How near two lines come; that of lines that share an end: how near their other ends come.
double Between(const RimCorner& a, const RimCorner& b, const RimCorner& c, const RimCorner& d) {
    if (SideOf(a, c, d) * SideOf(b, c, d) < 0 && SideOf(c, a, b) * SideOf(d, a, b) < 0) return 0;
    double least = 1e300;
    if (a != c && a != d) least = std::min(least, AwayFrom(a, c, d));
    if (b != c && b != d) least = std::min(least, AwayFrom(b, c, d));
    if (c != a && c != b) least = std::min(least, AwayFrom(c, a, b));
    if (d != a && d != b) least = std::min(least, AwayFrom(d, a, b));
    return least == 1e300 ? 0 : least;
}

// BEHAVIOUR A7
TEST(RimTracer, MakesAHoleOfWhatARimGoesAroundBeforeItTouchesItself) {
    const std::vector<Rim> rims = TraceRims(RasterOf({"###", "#.#", "##."}));
    ASSERT_EQ(rims.size(), 2U);
    const Rim &hole = rims[rims[0].twiceArea < 0 ? 0 : 1], &outer = rims[hole.parent];
    EXPECT_EQ(hole.twiceArea, -2);
    EXPECT_EQ(outer.twiceArea, 16);
    EXPECT_EQ(std::count_if(outer.corners.begin(), outer.corners.end(),
                            [&](const RimCorner& c) {
                                return std::count(hole.corners.begin(), hole.corners.end(), c) > 0;
                            }),
              1);
}

// BEHAVIOUR A7
TEST(RimTracer, KeepsPiecesApartThatTouchAtACorner) {
    const std::vector<Rim> rims = TraceRims(RasterOf({"##..", "##..", "..##", "..##"}));
    ASSERT_EQ(rims.size(), 2U);
    for (const Rim& rim : rims) EXPECT_EQ(rim.twiceArea, 8);
}

TEST(RimTracer, TracesWhatFillsTheRasterToItsLastColumn) {
    for (const int width : {57, 58, 59}) {
        PlaneRaster raster({{0, 0}, {static_cast<double>(width), 3}}, 1);
        for (int y = -3; y < 7; ++y)
            for (int x = -3; x < width + 4; ++x) raster.Mark({x + 0.5, y + 0.5});
        const std::vector<Rim> rims = TraceRims(raster);
        ASSERT_EQ(rims.size(), 1U) << width;
        EXPECT_EQ(rims[0].twiceArea, 2 * raster.Width() * raster.Height());
    }
}

// Each line against each other. A wide tolerance would take whole rims to the other side of others.
void ExpectClearAndInPlace(const std::vector<Rim>& rims) {
    struct Line {
        RimCorner from, to;
    };
    std::vector<Line> lines;
    for (const Rim& rim : rims)
        for (std::size_t i = 0; i < rim.corners.size(); ++i)
            lines.push_back({rim.corners[i], After(rim, i)});
    for (std::size_t i = 0; i < lines.size(); ++i)
        for (std::size_t k = i + 1; k < lines.size(); ++k)
            EXPECT_GE(Between(lines[i].from, lines[i].to, lines[k].from, lines[k].to), 0.25)
                << i << " and " << k;
    for (std::size_t i = 0; i < rims.size(); ++i) {
        const std::set<std::size_t> around = AroundOf(rims, i);
        for (std::size_t k = 0; k < rims[i].corners.size(); ++k) {
            const double x = static_cast<double>(rims[i].corners[k].x + After(rims[i], k).x) / 2;
            const double y = static_cast<double>(rims[i].corners[k].y + After(rims[i], k).y) / 2;
            for (std::size_t other = 0; other < rims.size(); ++other)
                EXPECT_TRUE(other == i || Contains(rims[other], x, y) == around.contains(other));
        }
    }
}

class RimModel : public testing::TestWithParam<std::uint32_t> {
protected:
    void SetUp() override {
        std::mt19937 random(GetParam());
        const auto pick = [&random](int from, int to) {
            return std::uniform_int_distribution<int>(from, to)(random);
        };
        const int width = pick(3, 90), height = pick(3, 40);
        const double density = pick(0, 100) / 100.0, turn = pick(0, 314) / 100.0;
        const double period = pick(15, 90) / 10.0, share = pick(30, 90) / 100.0;
        const bool stripes = GetParam() % 2 == 0;
        const int noise = stripes ? pick(0, 8) : 100;
        raster_ = RasterOf(width, height, [&](int x, int y) {
            if (pick(1, 100) <= noise) return pick(0, 999) < 1000 * density;
            const double phase = (x * std::cos(turn) + y * std::sin(turn)) / period;
            return phase - std::floor(phase) < share;
        });
        if (GetParam() % 3 == 0) raster_.CloseGaps();
    }

    PlaneRaster raster_;
};

TEST_P(RimModel, TellsEveryPixelByTheRimsAroundIt) {
    const std::vector<Rim> rims = TraceRims(raster_);
    std::int64_t area = 0, filled = 0;
    for (std::size_t i = 0; i < rims.size(); ++i) {
        area += rims[i].twiceArea;
        std::set<std::pair<std::int64_t, std::int64_t>> corners;
        for (const RimCorner& c : rims[i].corners) corners.insert({c.x, c.y});
        EXPECT_EQ(corners.size(), rims[i].corners.size()) << "rim " << i << " touches itself";
        const RimCorner& first = rims[i].corners[0];
        EXPECT_EQ(std::pair(first.x, first.y), *corners.begin());
        std::set<std::size_t> around;
        for (std::size_t k = 0; k < rims.size(); ++k)
            if (k != i && Contains(rims[k], static_cast<double>(first.x) + 0.5,
                                   static_cast<double>(first.y) + 0.5))
                around.insert(k);
        EXPECT_EQ(around, AroundOf(rims, i));
    }
    for (std::int64_t y = 0; y < raster_.Height(); ++y)
        for (std::int64_t x = 0; x < raster_.Width(); ++x) filled += raster_.At(x, y) ? 1 : 0;
    EXPECT_EQ(area, 2 * filled);
}

// BEHAVIOUR A7
TEST_P(RimModel, StraightensRimsThatStaySimpleClearOfEachOtherAndInTheirPlaces) {
    for (const double tolerance : {1.0, 4.0}) {
        std::vector<Rim> rims = TraceRims(raster_);
        StraightenRims(rims, tolerance);
        ExpectClearAndInPlace(rims);
    }
}

TEST_P(RimModel, StraightensWithinTheTolerance) {
    const std::vector<Rim> before = TraceRims(raster_);
    for (const double tolerance : {1.0, 4.0}) {
        std::vector<Rim> rims = before;
        StraightenRims(rims, tolerance);
        ASSERT_EQ(rims.size(), before.size());
        for (std::size_t i = 0; i < rims.size(); ++i) {
            EXPECT_EQ(rims[i].corners[0], before[i].corners[0]);
            EXPECT_EQ(rims[i].parent, before[i].parent);
            EXPECT_EQ(rims[i].twiceArea > 0, before[i].twiceArea > 0);
            EXPECT_LE(static_cast<double>(std::abs(rims[i].twiceArea - before[i].twiceArea)) / 2,
                      tolerance * LengthOf(before[i]));
            std::size_t at = 0;
            for (const RimCorner& corner : before[i].corners) {
                if (corner == After(rims[i], at)) at = (at + 1) % rims[i].corners.size();
                EXPECT_LE(AwayFrom(corner, rims[i].corners[at], After(rims[i], at)),
                          tolerance + 1e-9);
            }
            EXPECT_EQ((at + 1) % rims[i].corners.size(), 0U) << "not the rim's corners, in turn";
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RimModel, testing::Range(0U, 120U));

TEST(RimStraightener, TellsALongSlopeByFewCorners) {
    std::vector<Rim> rims =
        TraceRims(RasterOf(200, 60, [](int x, int y) { return y < 10 + x / 5; }));
    StraightenRims(rims, 1);
    ASSERT_EQ(rims.size(), 1U);
    EXPECT_LE(rims[0].corners.size(), 5U);
}

}  // namespace
}  // namespace orvix::detection
