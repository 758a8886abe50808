// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/sheets/building_picture.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "output/drawing/mesh_layer.h"
#include "output/plans/plan_regions.h"
#include "output/plans/storey_solid.h"
#include "output/plans/storey_walls.h"
#include "support/scenes/sample_building.h"

namespace orvix::output {
namespace {

using detail::Vector, detail::operator-;

constexpr Colour kWhite{255, 255, 255}, kRed{200, 0, 0}, kBlue{0, 0, 200};

double AreaShown(const std::vector<ShapeTriangle>& shapes, ShapeKind kind) {
    double area = 0;
    for (const ShapeTriangle& shape : shapes) {
        const auto& [a, b, c] = shape.corners;
        if (shape.kind == kind) area += detail::Length(detail::Cross(b - a, c - a)) / 2;
    }
    return area;
}

Colour At(const Canvas& canvas, int x, int y) {
    const std::vector<std::uint8_t> bytes = canvas.Finish();
    const std::size_t place = (static_cast<std::size_t>(y) * canvas.Width() + x) * 3;
    return {bytes[place], bytes[place + 1], bytes[place + 2]};
}

TEST(StoreySolid, IsCutWhereThePlanIs) {
    const building::Building house = test::SampleBuilding();
    const std::vector<ShapeTriangle> shapes = StoreyUpTo(house, 0, 1.2);
    EXPECT_NEAR(AreaShown(shapes, ShapeKind::CutWall), AreaOf(WallsOf(house, 0, 1.2).cut), 1e-3);
    EXPECT_NEAR(AreaShown(shapes, ShapeKind::Floor), 29.39 + 8.60685 + 8.59215, 1e-3);
    // The closed door; windows 1, 3 and 7, from their sills up to the cut.
    EXPECT_NEAR(AreaShown(shapes, ShapeKind::Door), 0.9 * 1.2, 1e-6);
    EXPECT_NEAR(AreaShown(shapes, ShapeKind::Window), 1.5 * 0.3 + 1.2 * 0.4 + 1 * 0.3, 1e-6);
    for (const ShapeTriangle& shape : shapes)
        for (const Vector& p : shape.corners) EXPECT_LE(p.z, 1.2);
    // At 2.4 m no opening is cut, and the caps of doors and windows are walls.
    EXPECT_NEAR(AreaShown(StoreyUpTo(house, 0, 2.4), ShapeKind::CutWall),
                AreaOf(WallsOf(house, 0, 1.2).solid), 1e-3);
}

TEST(StoreySolid, OfTheWholeHasItsRoofAndNothingOfANothing) {
    EXPECT_TRUE(WholeBuilding({}).empty());
    const std::vector<ShapeTriangle> whole = WholeBuilding(test::SampleBuilding());
    EXPECT_GT(AreaShown(whole, ShapeKind::Roof), 2 * 9 * 4.9);
    double top = 0;
    for (const ShapeTriangle& shape : whole)
        for (const Vector& p : shape.corners) top = std::max(top, p.z);
    EXPECT_NEAR(top, 6.94, 0.01);
}

TEST(MeshLayer, ShowsTheNearestAndALineWhereABodyEnds) {
    PictureView view = PictureView::Plan();
    view.Fit({0, 10, 0, 10}, {0, 0, 100, 100});
    MeshLayer layer({0, 0, 100, 100}, view);
    layer.Add({{{0, 0, 1}, {10, 0, 1}, {0, 10, 1}}}, kRed, 1);
    layer.Add({{{0, 0, 0}, {10, 0, 0}, {10, 10, 0}}}, kBlue, 2);
    layer.Add({{{0, 0, 0}, {10, 10, 0}, {0, 10, 0}}}, kBlue, 2);
    Canvas canvas(100, 100, kWhite);
    layer.DrawOnto(canvas);
    EXPECT_GT(At(canvas, 20, 70).r, 100);  // lower left: the red one is above
    EXPECT_GT(At(canvas, 80, 20).b, 100);
    const Colour edge = At(canvas, 50, 50);  // between them, in the lower one
    EXPECT_LT(edge.b, 120);
    // Two triangles of one body have no line between them.
    EXPECT_GT(At(canvas, 80, 20).b, 100);
    EXPECT_EQ(At(canvas, 85, 15).b, At(canvas, 75, 15).b);
}

TEST(MeshLayer, HasNoLinesOnAFaceThatRunsAwaySteeply) {
    PictureView view = PictureView::Plan();
    view.Fit({0, 10, 0, 10}, {0, 0, 50, 50});
    MeshLayer layer({0, 0, 50, 50}, view);
    layer.Add({{{0, 0, 0}, {10, 0, 0}, {10, 10, 40}}}, kRed, 1);
    layer.Add({{{0, 0, 0}, {10, 10, 40}, {0, 10, 40}}}, kRed, 1);
    Canvas canvas(50, 50, kWhite);
    layer.DrawOnto(canvas);
    EXPECT_GT(At(canvas, 25, 25).r, 100);
    EXPECT_GT(At(canvas, 10, 40).r, 100);
}

TEST(DrawBuilding, HasARowForEachStoreyAndAColumnForTheScan) {
    BuildingPicture picture = PictureOf(test::SampleBuilding());
    EXPECT_EQ(picture.title, "2 storeys, 4 rooms, 94.6 m\u00B2");
    picture.panelWidth = 120;
    const Canvas plain = DrawBuilding(picture);
    picture.points = {{1, 1, 0}, {2, 1, 5}};
    const Canvas withScan = DrawBuilding(picture);
    EXPECT_EQ(withScan.Height(), plain.Height());
    EXPECT_EQ(withScan.Width(), plain.Width() + 120 + 24);
    BuildingPicture none = PictureOf({});  // and it says so
    none.panelWidth = 120;
    EXPECT_LT(DrawBuilding(none).Height(), plain.Height());
    none.building.storeys.resize(12);
    const int dozen = DrawBuilding(none).Height();
    none.building.storeys.resize(40);
    EXPECT_EQ(DrawBuilding(none).Height(), dozen);
}

TEST(Canvas, FillsRingsButTheirHolesToAPartOfAPixel) {
    Canvas canvas(40, 40, kWhite);
    canvas.FillRings(
        {{{10, 10}, {30.5, 10}, {30.5, 30}, {10, 30}}, {{15, 15}, {15, 25}, {25, 25}, {25, 15}}},
        {0, 0, 0});
    EXPECT_EQ(At(canvas, 12, 12).r, 0);
    EXPECT_EQ(At(canvas, 20, 20).r, 255);
    EXPECT_EQ(At(canvas, 9, 20).r, 255);
    EXPECT_NEAR(At(canvas, 30, 20).r, 128, 3);
    EXPECT_EQ(At(canvas, 31, 20).r, 255);
    canvas.FillRings({{{-5, -5}, {100, -5}, {100, 100}, {-5, 100}}}, kRed);  // cut off
    EXPECT_EQ(At(canvas, 0, 39).r, 200);
}

TEST(Canvas, TurnsUprightTextToTheLeft) {
    constexpr int kSize = 80;
    Canvas level(kSize, kSize, kWhite), upward(kSize, kSize, kWhite);
    level.Text({10, 20}, "L1", 20, {0, 0, 0});
    upward.TextUpward({20, 70}, "L1", 20, {0, 0, 0});
    // (x, y) goes to (y, 80 - x).
    const std::vector<std::uint8_t> lying = level.Finish(), standing = upward.Finish();
    int ink = 0;
    for (int y = 0; y < kSize; ++y)
        for (int x = 0; x < kSize; ++x) {
            if (lying[3 * (y * kSize + x)] >= 100) continue;
            ++ink;
            EXPECT_LT(standing[3 * ((kSize - 1 - x) * kSize + y)], 200) << x << ", " << y;
        }
    EXPECT_GT(ink, 60);
}

}  // namespace
}  // namespace orvix::output
