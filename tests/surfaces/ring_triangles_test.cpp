// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/surfaces/ring_triangles.h"

#include <gtest/gtest.h>

#include <cmath>

#include "orvix/geometry/polygon_index.h"
#include "support/dice.h"

namespace orvix::detail {
namespace {

using Point = SimplePoint2DT<double>;
using Ring = std::vector<Point>;

RingTriangles EvenOdd(const std::vector<Ring>& rings) {
    PlaneOutline outline;
    for (const Ring& ring : rings) outline.regions.push_back({{ring, {}}, {}});
    const PolygonIndex index(outline);
    return TrianglesOf(rings, [&](const Point& p) { return index.Contains(p); });
}

double AreaOf(const RingTriangles& mesh) {
    double twice = 0;
    for (const auto& t : mesh.triangles) {
        const Point &a = mesh.points[t[0]], &b = mesh.points[t[1]], &c = mesh.points[t[2]];
        const double area = (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
        EXPECT_GT(area, 0);
        twice += area;
    }
    return twice / 2;
}

// Rectangles on whole numbers, which overlap, touch, repeat and share sides; counted square by square.
class RingTrianglesModel : public testing::TestWithParam<unsigned> {};

TEST_P(RingTrianglesModel, CoverWhatIsInsideAnOddNumberOfRings) {
    std::uint64_t state = GetParam();
    test::Dice dice(state);
    const auto below = [&](std::size_t limit) {
        return static_cast<std::size_t>(dice.Share() * static_cast<double>(limit));
    };
    std::vector<Ring> rings;
    std::array<std::array<bool, 8>, 8> odd{};
    for (std::size_t count = 1 + below(4); count-- > 0;) {
        const std::size_t left = below(7), bottom = below(7);
        const std::size_t right = left + 1 + below(8 - left - 1);
        const std::size_t top = bottom + 1 + below(8 - bottom - 1);
        const auto at = [](std::size_t x, std::size_t y) {
            return Point{static_cast<double>(x), static_cast<double>(y)};
        };
        rings.push_back({at(left, bottom), at(right, bottom), at(right, top), at(left, top)});
        for (std::size_t x = left; x < right; ++x)
            for (std::size_t y = bottom; y < top; ++y) odd[x][y] = !odd[x][y];
    }
    double area = 0;
    for (const auto& column : odd)
        for (const bool inside : column) area += inside ? 1 : 0;
    EXPECT_DOUBLE_EQ(AreaOf(EvenOdd(rings)), area);
}

INSTANTIATE_TEST_SUITE_P(Seeds, RingTrianglesModel, testing::Range(0U, 64U));

// The corner lies a hair's breadth beside the side of the hole: no triangle reaches over the rim.
TEST(RingTriangles, ACornerBesideASideSpoilsNothing) {
    for (const double beside : {-1e-15, 0.0, 1e-15}) {
        const Ring outer{{0, 0}, {0.5 + beside, 0.3 + beside}, {1, 0.6}, {0, 3}};
        const RingTriangles mesh = EvenOdd({outer});
        std::size_t rim = 0;
        for (const auto& t : mesh.triangles)
            for (std::size_t k = 0; k < 3; ++k)
                rim += (t[k] + 1) % 4 == t[(k + 1) % 3] || (t[(k + 1) % 3] + 1) % 4 == t[k] ? 1 : 0;
        EXPECT_EQ(mesh.triangles.size(), 2) << beside;
        EXPECT_EQ(rim, 4) << beside;
    }
}

TEST(RingTriangles, SidesThatCrossMeetInNewCorners) {
    const RingTriangles mesh = EvenOdd({{{0, 0}, {2, 2}, {2, 0}, {0, 2}}});
    ASSERT_EQ(mesh.points.size(), 5);
    EXPECT_EQ(mesh.points[4].x, 1);
    EXPECT_EQ(mesh.points[4].y, 1);
    EXPECT_DOUBLE_EQ(AreaOf(mesh), 2);
}

TEST(RingTriangles, RingsOfNoExtentHaveNone) {
    EXPECT_TRUE(EvenOdd({}).triangles.empty());
    EXPECT_TRUE(EvenOdd({{}, {{1, 1}}, {{0, 0}, {1, 1}, {2, 2}}}).triangles.empty());
    EXPECT_TRUE(EvenOdd({{{0, 0}, {0, 0}, {1, 0}, {0, 0}}}).triangles.empty());
}

}  // namespace
}  // namespace orvix::detail
