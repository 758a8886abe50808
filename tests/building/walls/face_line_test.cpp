// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/faces/face_line.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "building/faces/face_raster.h"

namespace orvix::building {
namespace {

using detection::FoundPlane;
using testing::ElementsAre;

/// An upright rectangle from one place of the plan to another, seen from the right of that way.
FoundPlane Face(const PlanPoint& from, const PlanPoint& to, double bottom = 0, double top = 2.5,
                double rms = 0.002) {
    const double length = std::hypot(to.x - from.x, to.y - from.y);
    FoundPlane plane;
    plane.normal = {(to.y - from.y) / length, -(to.x - from.x) / length, 0};
    plane.offset = -(plane.normal.x * from.x + plane.normal.y * from.y);
    plane.centre = {(from.x + to.x) / 2, (from.y + to.y) / 2, (bottom + top) / 2};
    plane.rms = rms;
    plane.area = length * (top - bottom);
    plane.frame = PlaneFrame(plane.normal.x, plane.normal.y, plane.normal.z, plane.offset);
    PlaneRegion region;
    for (const auto& p :
         {SimplePointT<double>{from.x, from.y, bottom}, SimplePointT<double>{to.x, to.y, bottom},
          SimplePointT<double>{to.x, to.y, top}, SimplePointT<double>{from.x, from.y, top}})
        region.outer.points.push_back(plane.frame.To2D(p));
    plane.outline.regions.push_back(region);
    return plane;
}

TEST(FaceLine, RunsAlongItsPlaneFromEndToEnd) {
    const auto line = FaceLineOf(Face({1, 2}, {4, 6}, -0.5, 2));
    ASSERT_TRUE(line);
    EXPECT_NEAR(line->end - line->begin, 5, 1e-9);
    EXPECT_NEAR(line->bottom, -0.5, 1e-9);
    EXPECT_NEAR(line->top, 2, 1e-9);
    EXPECT_NEAR(line->Before({1, 2}), 0, 1e-9);
    // Its normal is to the right of the way from (1, 2) to (4, 6).
    EXPECT_NEAR(line->Before({1 + 0.8, 2 - 0.6}), 1, 1e-9);
    for (const PlanPoint& p : {PlanPoint{1, 2}, PlanPoint{3, 1}, PlanPoint{-7, 5}}) {
        const PlanPoint back = line->At(line->Along(p), line->Before(p));
        EXPECT_NEAR(back.x, p.x, 1e-9);
        EXPECT_NEAR(back.y, p.y, 1e-9);
    }
}

// Of each plane the place of its line; -1: none.
std::vector<int> LineOfEach(const FaceLines& found, std::size_t planes) {
    std::vector<int> lines(planes, -1);
    for (std::size_t k = 0; k < found.lines.size(); ++k)
        for (const std::size_t plane : found.lines[k].planes) lines[plane] = static_cast<int>(k);
    return lines;
}

TEST(FaceLine, LeaningAndTinyPlanesHaveNone) {
    FoundPlane tiny = Face({0, 0}, {1, 0});
    tiny.area = 0.019;
    EXPECT_FALSE(FaceLineOf(tiny));
    FoundPlane leans = Face({0, 0}, {1, 0});
    leans.normal = {0, -0.8, 0.6};
    EXPECT_FALSE(FaceLineOf(leans));
}

TEST(FaceLines, PiecesOfOneFaceShareALineAcrossGaps) {
    const FaceLines found = FaceLinesOf(
        {Face({0, 0}, {1, 0}), Face({9, 0.01}, {12, 0.01}), Face({3, -0.002}, {4, 0.002}, 2, 2.5)});
    ASSERT_EQ(found.lines.size(), 1U);
    EXPECT_THAT(found.lines[0].planes, ElementsAre(1, 0, 2));
    EXPECT_NEAR(found.lines[0].begin, 0, 1e-6);
    EXPECT_NEAR(found.lines[0].end, 12, 1e-6);
    EXPECT_THAT(LineOfEach(found, 3), ElementsAre(0, 0, 0));
}

TEST(FaceLines, FacesThatLookTheOtherWayOrStandApartDoNot) {
    const FaceLines found =
        FaceLinesOf({Face({0, 0}, {4, 0}), Face({3, 0.0}, {0, 0.0}), Face({5, 0.02}, {6, 0.02}),
                     Face({0, 1}, {2, 1.08}), Face({0, 1}, {1.5, 1})});
    EXPECT_THAT(LineOfEach(found, 5), ElementsAre(0, 1, 4, 2, 3));
}

// A wavy wall is seen as planes that lie as far apart as it waves.
TEST(FaceLines, AFaceThatScattersTakesPiecesWithinThat) {
    const FoundPlane apart = Face({5, 0.03}, {6, 0.03});
    EXPECT_EQ(FaceLinesOf({Face({0, 0}, {4, 0}), apart}).lines.size(), 2U);
    EXPECT_EQ(FaceLinesOf({Face({0, 0}, {4, 0}, 0, 2.5, 0.011), apart}).lines.size(), 1U);
}

TEST(FaceLines, FloorsHaveNoLine) {
    FoundPlane floor;
    floor.normal = {0, 0, 1};
    floor.area = 20;
    const FaceLines found = FaceLinesOf({floor, Face({0, 0}, {1, 0})});
    EXPECT_THAT(LineOfEach(found, 2), ElementsAre(-1, 0));
    EXPECT_TRUE(FaceLinesOf({}).lines.empty());
}

TEST(FaceRaster, MarksSquaresOfALineAndNothingBesideIt) {
    const auto line = FaceLineOf(Face({0, 0}, {2, 0}, 0, 1));
    FaceRaster raster(*line, 0.1);
    raster.Mark(line->Along({0.55, 0}), 0.32);
    EXPECT_TRUE(raster.Marked(raster.ColumnOf(line->Along({0.55, 0})), 3));
    EXPECT_FALSE(raster.Marked(raster.ColumnOf(line->Along({0.75, 0})), 3));
    raster.Mark(line->Along({-0.5, 0}), 0.3);
    raster.Mark(line->Along({0.5, 0}), 1.9);
    raster.Mark(line->Along({0.5, 0}), -0.01);
    int marked = 0;
    for (std::int64_t c = -2; c < raster.Columns() + 2; ++c)
        for (std::int64_t r = -2; r < raster.Rows() + 2; ++r) marked += raster.Marked(c, r);
    EXPECT_EQ(marked, 1);
}

// Two pieces of a line, the squares of which do not lie on each other's.
TEST(FaceRaster, TakesOverAnothersMarksWithoutGaps) {
    const auto whole = FaceLineOf(Face({0, 0}, {4, 0}, 0, 1));
    const auto piece = FaceLineOf(Face({1.03, 0.01}, {3.01, 0.005}, 0, 1));
    FaceRaster own(*whole, 0.1), other(*piece, 0.1);
    for (double x = 1.04; x < 3; x += 0.02) other.Mark(piece->Along({x, 0}), 0.55);
    own.Take(other, *piece, *whole);
    for (double x = 1.1; x < 2.9; x += 0.05)
        EXPECT_TRUE(own.Marked(own.ColumnOf(whole->Along({x, 0})), own.RowOf(0.55))) << x;
    for (const double x : {0.5, 0.85, 3.25, 3.9})
        EXPECT_FALSE(own.Marked(own.ColumnOf(whole->Along({x, 0})), own.RowOf(0.55))) << x;
}

}  // namespace
}  // namespace orvix::building
