// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/surfaces/outline_builder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <set>

#include "orvix/geometry/polygon_index.h"
#include "orvix/surfaces/planar_triangulation.h"

namespace orvix::detail {
namespace {

using Position = SimplePoint2DT<double>;
using Positions = std::vector<Position>;

Positions Grid(int columns, int rows, const std::function<bool(int, int)>& wanted) {
    Positions positions;
    for (int y = 0; y <= rows; ++y) {
        for (int x = 0; x <= columns; ++x) {
            if (wanted(x, y)) positions.push_back({double(x), double(y)});
        }
    }
    return positions;
}

Positions RandomRectangle(std::mt19937& random, std::size_t count, double width, double height) {
    std::uniform_real_distribution<double> unit(0, 1);
    Positions positions(count);
    for (Position& p : positions) {
        p.x = width * unit(random);
        p.y = height * unit(random);
    }
    return positions;
}

void ExpectRing(const PlaneRing& ring, const Positions& expected) {
    ASSERT_EQ(ring.points.size(), expected.size());
    ASSERT_EQ(ring.indices.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(ring.points[i].x, expected[i].x) << i;
        EXPECT_EQ(ring.points[i].y, expected[i].y) << i;
    }
}

double SignedArea(const PlaneRing& ring) {
    double twice = 0;
    for (std::size_t i = 0; i < ring.points.size(); ++i) {
        const Position& p = ring.points[i];
        const Position& q = ring.points[(i + 1) % ring.points.size()];
        twice += p.x * q.y - q.x * p.y;
    }
    return twice / 2;
}

// BEHAVIOUR F6
TEST(BuildOutline, FindsASquareWithASquareHole) {
    const Positions positions =
        Grid(30, 30, [](int x, int y) { return x <= 10 || x >= 20 || y <= 10 || y >= 20; });
    const PlaneOutline outline = BuildOutline(positions, {});
    ASSERT_EQ(outline.regions.size(), 1U);
    ExpectRing(outline.regions[0].outer, {{0, 0}, {30, 0}, {30, 30}, {0, 30}});
    ASSERT_EQ(outline.regions[0].holes.size(), 1U);
    EXPECT_LT(SignedArea(outline.regions[0].holes[0]), 0);
    // The corners of the hole are rounded off by the circle that has to fit into it.
    EXPECT_NEAR(outline.area, 900 - 100, 2 * outline.radius * outline.radius);
    EXPECT_GT(outline.radius, std::sqrt(0.5));
}

TEST(BuildOutline, KeepsTheInnerCornerOfAnLButForHalfACell) {
    const Positions positions = Grid(20, 20, [](int x, int y) { return x <= 8 || y <= 8; });
    const PlaneOutline outline = BuildOutline(positions, {.radius = 1});
    ASSERT_EQ(outline.regions.size(), 1U);
    EXPECT_TRUE(outline.regions[0].holes.empty());
    ExpectRing(outline.regions[0].outer,
               {{0, 0}, {20, 0}, {20, 8}, {9, 8}, {8, 9}, {8, 20}, {0, 20}});
    EXPECT_EQ(outline.area, 400 - 144 + 0.5);
}

TEST(BuildOutline, OrdersIslandsByAreaThenByFirstVertex) {
    const Positions positions = Grid(60, 10, [](int x, int y) {
        return (x <= 10 && y <= 5) || (x >= 20 && x <= 40) || (x >= 50 && y <= 5);
    });
    const PlaneOutline outline = BuildOutline(positions, {.radius = 1});
    ASSERT_EQ(outline.regions.size(), 3U);
    ExpectRing(outline.regions[0].outer, {{20, 0}, {40, 0}, {40, 10}, {20, 10}});
    ExpectRing(outline.regions[1].outer, {{0, 0}, {10, 0}, {10, 5}, {0, 5}});
    ExpectRing(outline.regions[2].outer, {{50, 0}, {60, 0}, {60, 5}, {50, 5}});
    EXPECT_EQ(outline.area, 300);
}

TEST(BuildOutline, PutsAnIslandInAHoleAsARegionOfItsOwn) {
    const Positions positions = Grid(40, 40, [](int x, int y) {
        const int ring = std::max(std::abs(x - 20), std::abs(y - 20));
        return ring >= 15 || ring <= 5;
    });
    const PlaneOutline outline = BuildOutline(positions, {.radius = 1});
    ASSERT_EQ(outline.regions.size(), 2U);
    EXPECT_EQ(outline.regions[0].holes.size(), 1U);
    EXPECT_TRUE(outline.regions[1].holes.empty());
    EXPECT_EQ(outline.area, 1600 - (900 - 4 * 0.5) + 100);
}

TEST(BuildOutline, SplitsRingsThatTouchInAVertex) {
    const PlaneOutline bowTie =
        BuildOutline({{0, 0}, {-2, 1}, {-2, -1}, {2, 1}, {2, -1}}, {.radius = 1.3});
    ASSERT_EQ(bowTie.regions.size(), 2U);
    ExpectRing(bowTie.regions[0].outer, {{-2, -1}, {0, 0}, {-2, 1}});
    ExpectRing(bowTie.regions[1].outer, {{0, 0}, {2, -1}, {2, 1}});

    // The hole around the missing point reaches the rim in (10, 0).
    const PlaneOutline sheet = BuildOutline(
        Grid(20, 20, [](int x, int y) { return x != 10 || y != 1; }), {.radius = 0.72});
    ASSERT_EQ(sheet.regions.size(), 1U);
    ASSERT_EQ(sheet.regions[0].holes.size(), 1U);
    ExpectRing(sheet.regions[0].outer, {{0, 0}, {20, 0}, {20, 20}, {0, 20}});
    ExpectRing(sheet.regions[0].holes[0], {{9, 1}, {10, 2}, {11, 1}, {10, 0}});
    EXPECT_EQ(sheet.area, 398);
}

TEST(BuildOutline, NamesTheFirstOfEqualPointsAndIgnoresOrder) {
    constexpr unsigned kSeed = 5;
    SCOPED_TRACE(testing::Message() << "seed " << kSeed);
    std::mt19937 random(kSeed);
    Positions positions = RandomRectangle(random, 3000, 4, 3);
    const PlaneOutline outline = BuildOutline(positions, {});
    positions.insert(positions.end(), positions.begin(), positions.end());
    const PlaneOutline twice = BuildOutline(positions, {});
    ASSERT_EQ(twice.regions.size(), outline.regions.size());
    EXPECT_EQ(twice.regions[0].outer.indices, outline.regions[0].outer.indices);

    std::shuffle(positions.begin(), positions.end(), random);
    const PlaneOutline shuffled = BuildOutline(positions, {});
    EXPECT_EQ(shuffled.area, outline.area);
    EXPECT_EQ(shuffled.radius, outline.radius);
    ExpectRing(shuffled.regions[0].outer, outline.regions[0].outer.points);
}

class BuildOutlineModel : public testing::TestWithParam<unsigned> {};

TEST_P(BuildOutlineModel, RandomPointsHaveOneRegionWithoutHolesThatHoldsThem) {
    std::mt19937 random(GetParam());
    SCOPED_TRACE(testing::Message() << "seed " << GetParam());
    const Positions positions = RandomRectangle(random, 4000, 5, 2);
    const PlaneOutline outline = BuildOutline(positions, {});
    ASSERT_EQ(outline.regions.size(), 1U);
    EXPECT_TRUE(outline.regions[0].holes.empty());
    EXPECT_NEAR(outline.area, 10, 0.5);
    EXPECT_NEAR(SignedArea(outline.regions[0].outer), outline.area, 1e-9);
    const PolygonIndex index(outline);
    for (const Position& p : positions) EXPECT_TRUE(index.Contains(p)) << p.x << ", " << p.y;
}
INSTANTIATE_TEST_SUITE_P(Seeds, BuildOutlineModel, testing::Range(0U, 6U));

/// The area of triangles of at most `radius` that hang together, summed up piece by piece.
std::vector<double> AreasOfPieces(const Positions& positions, double radius) {
    PlanarTriangulation triangulation;
    for (const Position& p : positions) triangulation.insert({p.x, p.y});
    using Face = PlanarTriangulation::Face_handle;
    std::set<Face> unseen;
    for (const Face face : triangulation.finite_face_handles()) {
        if (triangulation.triangle(face).is_degenerate()) continue;
        const auto &a = face->vertex(0)->point(), &b = face->vertex(1)->point(),
                   &c = face->vertex(2)->point();
        if (CGAL::squared_radius(a, b, c) <= radius * radius) unseen.insert(face);
    }
    std::vector<double> areas;
    while (!unseen.empty()) {
        std::vector<Face> open{unseen.extract(unseen.begin()).value()};
        areas.push_back(0);
        while (!open.empty()) {
            const Face face = open.back();
            open.pop_back();
            areas.back() += triangulation.triangle(face).area();
            for (int side = 0; side < 3; ++side)
                if (unseen.erase(face->neighbor(side)) > 0) open.push_back(face->neighbor(side));
        }
    }
    return areas;
}

// A raster with points missing has pieces, bridges one triangle wide and holes by the dozen.
TEST(BuildOutline, EnclosesEveryPieceAndLeavesEveryHoleOut) {
    constexpr double kRadius = 0.7072;
    for (unsigned seed = 0; seed < 80; ++seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        std::mt19937 random(seed);
        const int columns = 2 + static_cast<int>(random() % 40);
        const int rows = 1 + static_cast<int>(random() % 12);
        const Positions positions =
            Grid(columns, rows, [&](int, int) { return random() % 100 < 60 + seed % 40; });
        double area = 0;
        for (const double piece : AreasOfPieces(positions, kRadius))
            if (piece >= kRadius * kRadius) area += piece;  // BEHAVIOUR F7
        const PlaneOutline outline = BuildOutline(positions, {.radius = kRadius});
        if (area > 0) {
            ASSERT_EQ(outline.area, area);
        }
    }
}

// BEHAVIOUR F6
TEST(BuildOutline, IsNotLedByADensePatch) {
    std::mt19937 random(9);
    Positions positions = RandomRectangle(random, 20000, 1, 1);
    const Positions sparse = RandomRectangle(random, 4000, 10, 10);
    positions.insert(positions.end(), sparse.begin(), sparse.end());
    const PlaneOutline outline = BuildOutline(positions, {});
    EXPECT_EQ(outline.regions.size(), 1U);
    EXPECT_NEAR(outline.area, 100, 4);
}

// BEHAVIOUR F8
TEST(BuildOutline, ThinsLargeSetsToAboutTheSameOutline) {
    std::mt19937 random(10);
    const Positions positions = RandomRectangle(random, 40000, 4, 4);
    const PlaneOutline all = BuildOutline(positions, {});
    const PlaneOutline thinned = BuildOutline(positions, {.maxPoints = 8000});
    ASSERT_EQ(thinned.regions.size(), 1U);
    EXPECT_NEAR(thinned.area, all.area, 0.1);
    EXPECT_LE(thinned.regions[0].outer.points.size(), all.regions[0].outer.points.size());
}

// BEHAVIOUR F7
TEST(BuildOutline, HasNoRegionForTooFewPointsOrPointsOnALine) {
    EXPECT_TRUE(BuildOutline({}, {}).regions.empty());
    EXPECT_TRUE(BuildOutline({{1, 2}, {3, 4}}, {}).regions.empty());
    EXPECT_TRUE(BuildOutline(Positions(10, {1, 2}), {}).regions.empty());
    Positions line;
    for (int i = 0; i < 5000; ++i) line.push_back({double(i), 2.0 * i});
    EXPECT_TRUE(BuildOutline(line, {}).regions.empty());
    EXPECT_TRUE(BuildOutline(line, {.maxPoints = 100}).regions.empty());
    EXPECT_TRUE(BuildOutline({{NAN, 0}, {0, INFINITY}, {0, 0}, {1, 0}}, {}).regions.empty());
}

TEST(BuildOutline, KeepsTheTriangleOfThreePoints) {
    const PlaneOutline outline = BuildOutline({{2, 0}, {0, 1}, {NAN, 0}, {0, 0}}, {});
    ASSERT_EQ(outline.regions.size(), 1U);
    ExpectRing(outline.regions[0].outer, {{0, 0}, {2, 0}, {0, 1}});
    EXPECT_EQ(outline.regions[0].outer.indices, (std::vector<std::uint32_t>{3, 0, 1}));
    EXPECT_EQ(outline.area, 1);
}

}  // namespace
}  // namespace orvix::detail
