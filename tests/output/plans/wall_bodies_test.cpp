// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/plans/wall_bodies.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "output/plans/plan_regions.h"
#include "output/plans/storey_walls.h"

namespace orvix::output {
namespace {

using building::Building;
using building::Measure;
using building::Wall;

constexpr double kGrid = 2e-4;  // square metres: outlines lie on a grid of 0.1 mm

Wall WallOf(PlanPoint from, PlanPoint to, double thickness) {
    Wall wall;
    wall.axis = {from, to};
    wall.top = 2.5;
    wall.leftSeen = true;
    if (thickness > 0) {
        wall.thickness = Measure{thickness, thickness, thickness};
        wall.rightSeen = true;
    }
    return wall;
}

double AreaOfWalls(std::vector<Wall> walls) {
    Building building;
    building.storeys = {{"Storey 1", 0, 2.5}};
    building.walls = std::move(walls);
    return AreaOf(WallsOf(building, 0, 1.2).cut);
}

PlanPoint Toward(double degrees, double length) {
    const double angle = degrees * std::numbers::pi / 180;
    return {length * std::cos(angle), length * std::sin(angle)};
}

TEST(WallBodies, FillACornerWhereverTheirEndsWereSeen) {
    const Wall along = WallOf({0, 0}, {4, 0}, 0.3);
    EXPECT_NEAR(AreaOfWalls({along, WallOf({0, 0}, {0, 3}, 0.3)}), 2.1, kGrid);
    // Seen from within to the faces, from outside to the far faces, and short of the other wall.
    EXPECT_NEAR(AreaOfWalls({WallOf({0.15, 0}, {4, 0}, 0.3), WallOf({0, 3}, {0, 0.15}, 0.3)}), 2.1,
                kGrid);
    EXPECT_NEAR(AreaOfWalls({WallOf({-0.15, 0}, {4, 0}, 0.3), WallOf({0, 3}, {0, -0.15}, 0.3)}),
                2.1, kGrid);
    EXPECT_NEAR(AreaOfWalls({WallOf({0.25, 0}, {4, 0}, 0.3), WallOf({0, 0.2}, {0, 3}, 0.3)}), 2.1,
                kGrid);
    // Two thicknesses: 0.3 along x, 0.1 up.
    EXPECT_NEAR(AreaOfWalls({along, WallOf({0, 0}, {0, 3}, 0.1)}), 4.05 * 0.3 + 2.85 * 0.1, kGrid);
}

TEST(WallBodies, MeetAtAnyAngleInTheLineOfTheirFaces) {
    for (const double degrees : {25.0, 60.0, 110.0, 163.0}) {
        SCOPED_TRACE(degrees);
        // The cut runs through where the axes meet: each keeps the area of its axis.
        EXPECT_NEAR(
            AreaOfWalls({WallOf({0, 0}, {4, 0}, 0.2), WallOf({0, 0}, Toward(degrees, 3), 0.2)}),
            7 * 0.2, kGrid);
    }
    // Three around a point: from the point to where faces meet, each is a triangle.
    const double depth = 0.1 / std::tan(std::numbers::pi / 3);
    EXPECT_NEAR(
        AreaOfWalls({WallOf({0, 0}, Toward(10, 2), 0.2), WallOf(Toward(130, 2), {0, 0}, 0.2),
                     WallOf({0, 0}, Toward(250, 2), 0.2)}),
        3 * 0.2 * (2 - depth / 2), kGrid);
}

TEST(WallBodies, EndInsideAWallThatRunsOn) {
    const Wall through = WallOf({0, 0}, {4, 0}, 0.3);
    for (const double start : {0.25, 0.15, 0.0, -0.15, -0.17}) {
        SCOPED_TRACE(start);
        EXPECT_NEAR(AreaOfWalls({through, WallOf({2, start}, {2, 3}, 0.12)}), 1.2 + 2.85 * 0.12,
                    kGrid);
    }
    // At 30 degrees both faces run to the axis, and none comes out on the other side.
    const PlanPoint end = PlanPoint{2, 0} + Toward(30, 3);
    EXPECT_NEAR(AreaOfWalls({through, WallOf({2, 0}, end, 0.4)}), 1.2 + 3 * 0.4 - 0.15 / 0.5 * 0.4,
                kGrid);
    // A crossing, a pier behind the wall, and a wall that stands free.
    EXPECT_NEAR(AreaOfWalls({through, WallOf({2, -2}, {2, 2}, 0.12)}), 1.2 + 3.7 * 0.12, kGrid);
    EXPECT_NEAR(AreaOfWalls({through, WallOf({2, -0.35}, {2, 3}, 0.12)}), 1.2 + 3.05 * 0.12, kGrid);
    EXPECT_NEAR(AreaOfWalls({through, WallOf({2, 0.5}, {2, 3}, 0.12)}), 1.2 + 2.5 * 0.12, kGrid);
}

// BEHAVIOUR M4
TEST(WallBodies, OfKnownThicknessEndInTheLineOfAFaceSeenAlone) {
    // The face at x = 4 was seen from the left of a wall that goes up.
    const Wall face = WallOf({4, 0}, {4, 3}, 0);
    EXPECT_NEAR(AreaOfWalls({WallOf({0, -0.15}, {4.1, -0.15}, 0.3), face}), 4 * 0.3, kGrid);
    Building building;
    building.walls = {WallOf({0, -0.15}, {4, -0.15}, 0.3), face};
    const std::vector<WallBody> bodies = JoinWalls(building, {0, 1});
    ASSERT_EQ(bodies.size(), 2U);
    EXPECT_FALSE(bodies[1].measured);
    EXPECT_NEAR(bodies[1].leftFace[0].x, 4, 1e-9);
    EXPECT_NEAR(bodies[1].rightFace[0].x, 4 + kAssumedThickness, 1e-9);
    EXPECT_NEAR(bodies[1].rightFace[0].y, -0.3, 1e-9);  // past the corner
}

TEST(StoreyWalls, LeaveOutWhatTheCutDoesNotMeet) {
    Building building;
    building.storeys = {{"Storey 1", 0, 2.5}};
    building.walls = {WallOf({0, 0}, {4, 0}, 0.3)};
    // A gable: 2 m high at its ends, 4 m in the middle.
    building.walls[0].profile = {{0, 0}, {4, 0}, {4, 2}, {2, 4}, {0, 2}};
    EXPECT_NEAR(AreaOf(WallsOf(building, 0, 3).cut), 2 * 0.3, kGrid);
    EXPECT_NEAR(AreaOf(WallsOf(building, 0, 3).below), 2 * 0.3, kGrid);
    building::Opening door;
    door.kind = building::OpeningKind::Door;
    door.along = 1;
    door.width = {0.9, 0.9, 0.9};
    door.height = {2, 2, 2};
    building.openings = {door};
    EXPECT_NEAR(AreaOf(WallsOf(building, 0, 1.2).cut), 3.1 * 0.3, kGrid);
    EXPECT_NEAR(AreaOf(WallsOf(building, 0, 1.2).solid), 4 * 0.3, kGrid);
    EXPECT_EQ(WallsOf(building, 0, 1.2).cut.size(), 2U);
    EXPECT_NEAR(AreaOf(WallsOf(building, 0, 2.1).cut), 3.8 * 0.3, kGrid);
    EXPECT_TRUE(WallsOf(building, 0, 4.5).cut.empty());
    EXPECT_EQ(WallsOf(building, 0, -1).above.size(), 1U);
}

TEST(PlanRegions, AreTheSameAtAnyOrderOfTheirRings) {
    const std::vector<PlanRing> rings{{{0, 0}, {4, 0}, {4, 0.3}, {0, 0.3}},
                                      {{0, 0.3}, {0.3, 0.3}, {0.3, 3}, {0, 3}},
                                      {{3.7, 0.3}, {4, 0.3}, {4, 3}, {3.7, 3}},
                                      {{0, 3}, {4, 3}, {4, 3.3}, {0, 3.3}}};
    const std::vector<PlanRegion> frame = UnionOf(rings);
    ASSERT_EQ(frame.size(), 1U);
    EXPECT_EQ(frame[0].outer.size(), 4U);
    ASSERT_EQ(frame[0].holes.size(), 1U);
    EXPECT_EQ(frame[0].holes[0].size(), 4U);
    EXPECT_LT(TwiceArea(frame[0].holes[0]), 0);
    EXPECT_NEAR(AreaOf(frame), 4 * 3.3 - 3.4 * 2.7, kGrid);
    const std::vector<PlanRegion> again = UnionOf({rings.rbegin(), rings.rend()});
    ASSERT_EQ(again.size(), 1U);
    EXPECT_EQ(again[0].outer[0].x, frame[0].outer[0].x);
    EXPECT_EQ(again[0].outer[0].y, frame[0].outer[0].y);
    EXPECT_FALSE(Contains(frame, {2, 1}));
    EXPECT_TRUE(Contains(frame, {2, 0.1}));
    const auto parts = PartsInside(frame, {-1, 1}, {5, 1});
    ASSERT_EQ(parts.size(), 2U);
    EXPECT_NEAR(parts[0].first * 6, 1, 1e-9);
    EXPECT_NEAR(parts[1].second * 6, 5, 1e-9);
    EXPECT_EQ(PartsOutside(frame, {-1, 1}, {5, 1}).size(), 3U);
}

}  // namespace
}  // namespace orvix::output
