// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/plan_grid.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <utility>

#include "building/plan_measures.h"

namespace orvix::building {
namespace {

using Cells = std::set<std::pair<std::int64_t, std::int64_t>>;

PlanRing Rectangle(double left, double bottom, double right, double top) {
    return {{left, bottom}, {right, bottom}, {right, top}, {left, top}};
}

Cells Inside(const PlanGrid& grid, const std::vector<PlanRing>& rings) {
    Cells cells;
    ForEachInside(grid, rings, [&](std::int64_t i, std::int64_t j) {
        EXPECT_TRUE(cells.emplace(i, j).second) << "twice: " << i << ", " << j;
        EXPECT_TRUE(i >= 0 && j >= 0 && i < grid.columns && j < grid.rows);
    });
    return cells;
}

/// Whether a place lies inside rings, by a ray to the right.
bool Holds(const std::vector<PlanRing>& rings, const PlanPoint& p) {
    bool inside = false;
    for (const PlanRing& ring : rings)
        for (std::size_t k = 0; k < ring.size(); ++k) {
            const PlanPoint &a = ring[k], &b = ring[(k + 1) % ring.size()];
            if ((a.y > p.y) == (b.y > p.y)) continue;
            if (a.x + (b.x - a.x) * (p.y - a.y) / (b.y - a.y) > p.x) inside = !inside;
        }
    return inside;
}

TEST(PlanGrid, CoversABoundAndItsMargin) {
    const PlanGrid grid = PlanGrid::Over({-1, 2}, {3, 2.5}, 0.25, 0.5, 1e6);
    EXPECT_EQ(grid.cell, 0.25);
    for (const PlanPoint& p : {PlanPoint{-1.5, 1.5}, PlanPoint{3.5, 3}, PlanPoint{0, 2}}) {
        EXPECT_TRUE(grid.Holds(p)) << p.x << ", " << p.y;
        const PlanPoint middle = grid.Middle(grid.Column(p.x), grid.Row(p.y));
        EXPECT_LE(std::abs(middle.x - p.x), 0.125 + 1e-12);
        EXPECT_LE(std::abs(middle.y - p.y), 0.125 + 1e-12);
    }
    EXPECT_FALSE(grid.Holds({-1.6, 2}));
    EXPECT_FALSE(grid.Holds({0, 4}));
    EXPECT_EQ(grid.Column(-1e9), 0);
    EXPECT_EQ(grid.Row(1e9), grid.rows - 1);
}

TEST(PlanGrid, SquaresGrowWhereThereWereTooMany) {
    const PlanGrid grid = PlanGrid::Over({0, 0}, {10'000, 10'000}, 0.05, 1, 1e4);
    EXPECT_LE(grid.Size(), 11'000U);
    EXPECT_TRUE(grid.Holds({10'000, 10'000}));
}

TEST(PlanGrid, ASquareIsInsideWhereItsMiddleIs) {
    const PlanGrid grid = PlanGrid::Over({0, 0}, {1, 1}, 0.1, 0, 1e6);
    const Cells cells = Inside(grid, {Rectangle(0.26, 0.1, 0.44, 0.2)});
    EXPECT_EQ(cells, (Cells{{3, 1}}));
}

// Holes, pieces inside holes and rings beyond the grid, against a ray for each middle.
TEST(PlanGrid, RingsAreEvenAndOdd) {
    const PlanGrid grid = PlanGrid::Over({-2, -2}, {2, 2}, 0.07, 0, 1e6);
    PlanRing hole = Rectangle(-1, -1, 1, 1);
    std::reverse(hole.begin(), hole.end());
    const std::vector<PlanRing> rings{Rectangle(-5, -1.7, 1.6, 9),
                                      hole,
                                      {{-0.5, -0.6}, {0.7, 0}, {0.1, 0.8}},
                                      {{1.2, -1.3}, {1.3, -1.5}, {1.5, -1.4}}};
    Cells expected;
    for (std::int64_t j = 0; j < grid.rows; ++j)
        for (std::int64_t i = 0; i < grid.columns; ++i)
            if (Holds(rings, grid.Middle(i, j))) expected.emplace(i, j);
    EXPECT_GT(expected.size(), 1000U);
    EXPECT_EQ(Inside(grid, rings), expected);
    EXPECT_TRUE(Inside(grid, {}).empty());
    EXPECT_TRUE(Inside(grid, {PlanRing{}}).empty());
}

TEST(PlanMeasures, AHoleIsTakenOffWhicheverWayItRuns) {
    PlanRegion region{Rectangle(0, 0, 4, 3), {Rectangle(1, 1, 2, 2)}};
    EXPECT_DOUBLE_EQ(NetAreaOf(region), 11);
    std::reverse(region.holes[0].begin(), region.holes[0].end());
    EXPECT_DOUBLE_EQ(NetAreaOf(region), 11);
    EXPECT_DOUBLE_EQ(AreaOf(region.holes[0]), -1);
    EXPECT_DOUBLE_EQ(AreaWithin(region.holes[0]), 1);
}

}  // namespace
}  // namespace orvix::building
