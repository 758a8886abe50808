// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/surfaces/delaunay_edges.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <numbers>
#include <random>
#include <string>

#include "orvix/surfaces/planar_triangulation.h"

namespace orvix::detail {
namespace {

using Position = SimplePoint2DT<double>;
using Positions = std::vector<Position>;
using Triangle = std::array<std::uint32_t, 3>;
using Triangles = std::vector<Triangle>;

Triangles Sorted(Triangles triangles) {
    for (Triangle& t : triangles)
        std::rotate(t.begin(), std::min_element(t.begin(), t.end()), t.end());
    std::sort(triangles.begin(), triangles.end());
    return triangles;
}

// By place in the list; of several positions in one place the first.
Triangles TrianglesOf(const Positions& positions) {
    const PlanarSites sites = SitesOf(positions, Coinciding::First);
    const auto edges = DelaunayEdges::Of(sites, {});
    Triangles triangles;
    edges->ForEachTriangle([&](DelaunayEdges::Edge edge) {
        const auto corners = edges->CornersOf(edge);
        triangles.push_back(
            {sites.sources[corners.a], sites.sources[corners.b], sites.sources[corners.c]});
    });
    EXPECT_EQ(edges->HasTriangles(), !triangles.empty());
    return Sorted(triangles);
}

// The same, inserted one by one in the list's order.
Triangles OneByOne(const Positions& positions) {
    PlanarTriangulation triangulation;
    for (std::size_t i = 0; i < positions.size(); ++i) {
        if (!std::isfinite(positions[i].x) || !std::isfinite(positions[i].y)) continue;
        const auto vertex = triangulation.insert({positions[i].x, positions[i].y});
        if (vertex->index < 0) vertex->index = static_cast<std::int32_t>(i);
    }
    Triangles triangles;
    for (const auto face : triangulation.finite_face_handles())
        triangles.push_back({static_cast<std::uint32_t>(face->vertex(0)->index),
                             static_cast<std::uint32_t>(face->vertex(1)->index),
                             static_cast<std::uint32_t>(face->vertex(2)->index)});
    return Sorted(triangles);
}

struct Shape {
    std::string name;
    std::function<Position(std::mt19937&)> draw;
};

double Unit(std::mt19937& random) {
    return static_cast<double>(random()) / 4294967296.0;
}

double Whole(std::mt19937& random, unsigned below) {
    return static_cast<double>(random() % below);
}

// Scattered, and what decides ties: lines, circles, rasters, places that are hit again and again.
const std::vector<Shape>& Shapes() {
    static const std::vector<Shape> kShapes{
        {"scattered",
         [](auto& r) {
             return Position{Unit(r), Unit(r)};
         }},
        {"raster",
         [](auto& r) {
             return Position{Whole(r, 20), Whole(r, 20)};
         }},
        {"raster that is turned",
         [](auto& r) {
             const double x = Whole(r, 20), y = Whole(r, 20);
             return Position{3 * x - 4 * y, 4 * x + 3 * y};
         }},
        {"raster of hundredths",
         [](auto& r) {
             return Position{0.01 * Whole(r, 30), 0.01 * Whole(r, 30)};
         }},
        {"columns",
         [](auto& r) {
             return Position{Whole(r, 5), Unit(r)};
         }},
        {"rows",
         [](auto& r) {
             return Position{Unit(r), Whole(r, 3)};
         }},
        {"circle on whole numbers",
         [](auto& r) {
             static constexpr std::array<std::array<int, 2>, 6> kOnCircle{
                 {{63, 16}, {56, 33}, {52, 39}, {60, 25}, {65, 0}, {33, 56}}};
             const auto [x, y] = kOnCircle[r() % 6];
             const double s = r() % 2 == 0 ? 1 : -1, t = r() % 2 == 0 ? 1 : -1;
             return r() % 2 == 0 ? Position{s * x, t * y} : Position{s * y, t * x};
         }},
        {"circle, rounded",
         [](auto& r) {
             const double angle = 2 * std::numbers::pi * Unit(r);
             return Position{std::cos(angle), std::sin(angle)};
         }},
        {"parabola",
         [](auto& r) {
             const double x = Whole(r, 100);
             return Position{x, x * x};
         }},
        {"falling line",
         [](auto& r) {
             const double x = Whole(r, 90);
             return Position{x, -x};
         }},
        {"line and one point",
         [](auto& r) {
             const double x = Whole(r, 90);
             return x == 44 ? Position{20, 21} : Position{x, x / 2};
         }},
        {"clusters",
         [](auto& r) {
             const double far = std::exp(-30 * Unit(r));
             return Position{Whole(r, 3) + far * Unit(r), Whole(r, 2) + far * Unit(r)};
         }},
        {"far from zero",
         [](auto& r) {
             return Position{1e9 + Unit(r), -1e9 + Unit(r)};
         }},
        {"beyond the sizes that rounded numbers decide",
         [](auto& r) {
             return Position{1e120 * Whole(r, 8), 1e120 * Whole(r, 8)};
         }},
        {"below them",
         [](auto& r) {
             return Position{1e-90 * Whole(r, 8), 1e-90 * Unit(r)};
         }},
        {"not finite now and then",
         [](auto& r) {
             return Position{r() % 9 == 0 ? NAN : Unit(r), r() % 9 == 0 ? INFINITY : Unit(r)};
         }},
    };
    return kShapes;
}

class DelaunayEdgesModel : public testing::TestWithParam<std::size_t> {};

TEST_P(DelaunayEdgesModel, HasTheTrianglesOfInsertingOneByOne) {
    const Shape& shape = Shapes()[GetParam()];
    SCOPED_TRACE(shape.name);
    for (unsigned seed = 0; seed < 40; ++seed) {
        std::mt19937 random(seed);
        // Small lists, where every step is an end of something, and some with many strips.
        Positions positions(seed < 36 ? random() % 60 : 500 + random() % 1000);
        for (Position& p : positions) p = shape.draw(random);
        ASSERT_EQ(TrianglesOf(positions), OneByOne(positions)) << "seed " << seed;
    }
}
INSTANTIATE_TEST_SUITE_P(Shapes, DelaunayEdgesModel,
                         testing::Range(std::size_t{0}, Shapes().size()));

// BEHAVIOUR S6
TEST(DelaunayEdges, CutsASquareFromTheCornerThatIsNeitherFirstNorLast) {
    const Positions square{{0, 0}, {1, 0}, {0, 1}, {1, 1}};
    EXPECT_EQ(TrianglesOf(square), (Triangles{{0, 1, 2}, {1, 3, 2}}));
}

TEST(DelaunayEdges, AreTheSameForTheSamePositionsInAnyOrder) {
    std::mt19937 random(3);
    Positions positions(5000);
    for (Position& p : positions) p = {Whole(random, 100), Unit(random)};
    const auto listed = [](const Positions& list) {
        const PlanarSites sites = SitesOf(list, Coinciding::Last);
        const auto edges = DelaunayEdges::Of(sites, {});
        std::vector<double> corners;
        edges->ForEachTriangle([&](DelaunayEdges::Edge edge) {
            const Position& p = sites.positions[edges->Origin(edge)];
            corners.insert(corners.end(), {p.x, p.y});
        });
        return corners;
    };
    const std::vector<double> corners = listed(positions);
    positions.insert(positions.end(), positions.begin(), positions.begin() + 100);
    std::shuffle(positions.begin(), positions.end(), random);
    EXPECT_EQ(listed(positions), corners);
}

TEST(DelaunayEdges, NameTheFirstOrTheLastOfCoincidingPositions) {
    const Positions positions{{1, 1}, {0, 0}, {-0.0, 0}, {1, 1}, {0, 1}};
    using Sources = std::vector<std::uint32_t>;
    const auto sources = [&](Coinciding which) {
        Sources names = SitesOf(positions, which).sources;
        std::sort(names.begin(), names.end());
        return names;
    };
    EXPECT_EQ(sources(Coinciding::First), (Sources{0, 1, 4}));
    EXPECT_EQ(sources(Coinciding::Last), (Sources{2, 3, 4}));
}

// In the order along it, inserting points of a parabola one by one turns a fan over each time.
TEST(DelaunayEdges, TakeNoLongerForPointsOfACurve) {
    Positions positions;
    for (int i = 0; i < 100'000; ++i) positions.push_back({i * 1.0, i * 1e-3 * i});
    EXPECT_EQ(TrianglesOf(positions).size(), positions.size() - 2);
}

TEST(DelaunayEdges, AreNoneWhereTheCallerStops) {
    std::mt19937 random(4);
    Positions positions(20'000);
    for (Position& p : positions) p = {Unit(random), Unit(random)};
    const PlanarSites sites = SitesOf(positions, Coinciding::First);
    int left = 20;
    EXPECT_FALSE(DelaunayEdges::Of(sites, [&] { return --left > 0; }));
    EXPECT_EQ(left, 0);
    EXPECT_TRUE(DelaunayEdges::Of(sites, [] { return true; }));
}

}  // namespace
}  // namespace orvix::detail
