// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/outlines/raster_outline.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "orvix/geometry/polygon_index.h"

namespace orvix::detection {
namespace {

// Above 0 where the ring runs counter-clockwise.
double SignedArea(const std::vector<SimplePoint2DT<double>>& ring) {
    double twice = 0;
    for (std::size_t i = 0; i < ring.size(); ++i) {
        const auto& a = ring[i];
        const auto& b = ring[(i + 1) % ring.size()];
        twice += (a.x - ring[0].x) * (b.y - ring[0].y) - (b.x - ring[0].x) * (a.y - ring[0].y);
    }
    return twice / 2;
}

using Position = SimplePoint2DT<double>;

PlaneRaster RasterOf(double width, double height, double pixel,
                     const std::function<bool(const Position&)>& filled) {
    PlaneRaster raster({{0, 0}, {width, height}}, pixel);
    for (double y = pixel / 2; y < height; y += pixel)
        for (double x = pixel / 2; x < width; x += pixel)
            if (filled({x, y})) raster.Mark({x, y});
    return raster;
}

TEST(PlaneRaster, ClosesNarrowGapsAndLeavesRimsAndWideGapsAlone) {
    PlaneRaster raster = RasterOf(20, 10, 1, [](const Position& p) {
        return std::floor(p.x) != 5 && !(p.x > 10 && p.x < 15 && p.y > 3 && p.y < 8);
    });
    raster.CloseGaps();
    for (std::int64_t x = 3; x < 23; ++x) {
        EXPECT_TRUE(raster.At(x, 3)) << x;
        EXPECT_FALSE(raster.At(x, 2)) << x;
        EXPECT_FALSE(raster.At(x, 13)) << x;
    }
    EXPECT_FALSE(raster.At(2, 5));
    EXPECT_FALSE(raster.At(23, 5));
    EXPECT_FALSE(raster.At(3 + 12, 3 + 5));
}

TEST(PlaneRaster, LeavesOutWhatLiesOutside) {
    PlaneRaster raster({{0, 0}, {1, 1}}, 0.5);
    raster.Mark({-100, 0});
    raster.Mark({0, 1e12});
    raster.Mark({std::nan(""), 0});
    for (std::int64_t y = 0; y < raster.Height(); ++y)
        for (std::int64_t x = 0; x < raster.Width(); ++x) EXPECT_FALSE(raster.At(x, y));
}

TEST(RasterOutline, TellsARectangleWithAWindowByEightCorners) {
    const PlaneRaster raster = RasterOf(100, 40, 0.5, [](const Position& p) {
        return !(p.x > 20 && p.x < 50 && p.y > 10 && p.y < 30);
    });
    const PlaneOutline outline = OutlineOf(raster, {1, 1});
    ASSERT_EQ(outline.regions.size(), 1U);
    ASSERT_EQ(outline.regions[0].holes.size(), 1U);
    EXPECT_EQ(outline.regions[0].outer.points.size(), 4U);
    EXPECT_EQ(outline.regions[0].holes[0].points.size(), 4U);
    EXPECT_DOUBLE_EQ(outline.area, 100 * 40 - 30 * 20);
    EXPECT_GT(SignedArea(outline.regions[0].outer.points), 0);
    EXPECT_LT(SignedArea(outline.regions[0].holes[0].points), 0);
    EXPECT_EQ(outline.regions[0].holes[0].indices.front(), 4U);
}

TEST(RasterOutline, TellsIslandsInHolesApartAndDropsWhatIsSmall) {
    const PlaneRaster raster = RasterOf(60, 60, 1, [](const Position& p) {
        const double away = std::max(std::abs(p.x - 30), std::abs(p.y - 30));
        return away > 20 || away < 8 || (std::abs(p.x - 15) < 1.1 && std::abs(p.y - 30) < 1.1);
    });
    const PlaneOutline all = OutlineOf(raster, {0, 0});
    ASSERT_EQ(all.regions.size(), 3U);
    EXPECT_EQ(all.regions[0].holes.size(), 1U);
    EXPECT_EQ(all.regions[1].outer.points.size(), 4U);
    EXPECT_TRUE(all.regions[1].holes.empty());
    const PlaneOutline large = OutlineOf(raster, {0, 20});
    EXPECT_EQ(large.regions.size(), 2U);
    EXPECT_EQ(OutlineOf(raster, {2000, 1000}).regions[0].holes.size(), 0U);
}

// BEHAVIOUR A8
TEST(RasterOutline, FillsASmallHoleWithWhatStandsInIt) {
    const PlaneRaster raster = RasterOf(40, 40, 1, [](const Position& p) {
        const double away = std::max(std::abs(p.x - 20), std::abs(p.y - 20));
        return away > 8 || away < 4;
    });
    const PlaneOutline outline = OutlineOf(raster, {300, 10});
    ASSERT_EQ(outline.regions.size(), 1U);
    EXPECT_DOUBLE_EQ(outline.area, 1600);
    EXPECT_EQ(OutlineOf(raster, {200, 10}).regions.size(), 2U);
}

TEST(RasterOutline, OfNothingHasNoRegion) {
    EXPECT_TRUE(OutlineOf(PlaneRaster({{0, 0}, {5, 5}}, 1), {}).regions.empty());
}

class RasterOutlineModel : public testing::TestWithParam<std::uint32_t> {};

// Straightening moves a rim by a pixel at most: what lies farther from every rim stays in or out.
TEST_P(RasterOutlineModel, HoldsEveryPixelThatIsNotBesideARim) {
    std::mt19937 random(GetParam());
    std::uniform_real_distribution<double> side(0, 60), size(4, 12);
    std::vector<std::array<double, 3>> discs;
    for (int i = 0; i < 9; ++i) discs.push_back({side(random), side(random), size(random)});
    const auto inDiscs = [&](const Position& p) {
        int depth = 0;
        for (const auto& [x, y, r] : discs)
            depth += (p.x - x) * (p.x - x) + (p.y - y) * (p.y - y) < r * r ? 1 : 0;
        return depth % 2 == 1;
    };
    const PlaneRaster raster = RasterOf(60, 60, 0.5, inDiscs);
    const orvix::detail::PolygonIndex index(OutlineOf(raster, {0, 0}));
    for (std::int64_t y = 2; y + 2 < raster.Height(); ++y) {
        for (std::int64_t x = 2; x + 2 < raster.Width(); ++x) {
            int filled = 0;
            for (std::int64_t dy = -2; dy <= 2; ++dy)
                for (std::int64_t dx = -2; dx <= 2; ++dx) filled += raster.At(x + dx, y + dy);
            if (filled != 0 && filled != 25) continue;
            const Position corner = raster.Corner(x, y);
            const Position middle{corner.x + 0.25, corner.y + 0.25};
            EXPECT_EQ(index.Contains(middle), filled == 25) << x << ' ' << y;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RasterOutlineModel, testing::Range(0U, 6U));

}  // namespace
}  // namespace orvix::detection
