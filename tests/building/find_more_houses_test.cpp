// SPDX-License-Identifier: GPL-3.0-or-later
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "building/plan_measures.h"
#include "tests/building/found_house.h"

namespace orvix::building {
namespace {

constexpr double kClose = 0.005;

/// A storey of a tower, inside 4 by 4 m: four walls of 0.25 m with a window in the south one.
void AddStorey(test::HouseScene& tower, double floor, double ceiling, double top,
               double waviness = 0) {
    using test::Fill;
    const test::HouseOpening window{2, floor + 0.9, 1.2, 1.2, Fill::Pane};
    tower.AddWall({{-0.125, -0.25}, {-0.125, 4.25}, 0.25, floor, top});
    tower.AddWall({{4.125, -0.25}, {4.125, 4.25}, 0.25, floor, top, {}, waviness});
    tower.AddWall({{0, -0.125}, {4, -0.125}, 0.25, floor, top, {window}});
    tower.AddWall({{0, 4.125}, {4, 4.125}, 0.25, floor, top});
    tower.AddLevel({0, 0}, {4, 4}, floor);
    tower.AddLevel({0, 0}, {4, 4}, ceiling);
}

// Storeys of different heights, with slabs of 0.25 and 0.35 m between them.
TEST(FindBuilding, ThreeStoreysStandOnTopOfEachOther) {
    test::HouseScene tower;
    AddStorey(tower, 0, 2.5, 2.75);
    AddStorey(tower, 2.75, 5.45, 5.8);
    AddStorey(tower, 5.8, 8.2, 8.4);
    tower.AddLevel({-8, -8}, {12, 12}, -0.02);
    const HouseProject project(ScanHouse(
        tower, {{1.5, 1.6, 1.5}, {2.4, 1.6, 4.2}, {2, 2.2, 7.2}, {-5, -5, 1.5}, {9, 9, 1.5}}, 0.7));
    const FoundHouse found(project);
    const std::vector<std::array<double, 2>> heights{{0, 2.5}, {2.75, 5.45}, {5.8, 8.2}};
    ASSERT_EQ(found.building.storeys.size(), 3U) << found.Words();
    EXPECT_EQ(found.building.rooms.size(), 3U) << found.Words();
    for (std::size_t s = 0; s < 3; ++s) {
        EXPECT_EQ(found.building.storeys[s].name, fmt::format("Storey {}", s + 1));
        EXPECT_NEAR(found.Height(found.building.storeys[s].elevation), heights[s][0], kClose);
        EXPECT_NEAR(found.Height(found.building.storeys[s].ceiling), heights[s][1], kClose);
        const Room* room = found.RoomAt(s, {2, 2});
        ASSERT_TRUE(room != nullptr);
        EXPECT_EQ(room->name, fmt::format("Room {}.1", s + 1));
        EXPECT_NEAR(room->area.value, 16, 0.05);
        EXPECT_NEAR(room->height.value, heights[s][1] - heights[s][0], kClose);
    }
    std::vector<double> thick;
    for (const Slab& slab : found.building.slabs)
        if (slab.thickness) thick.push_back(slab.thickness->value);
    EXPECT_THAT(thick, testing::ElementsAre(testing::DoubleNear(0.25, 0.002),
                                            testing::DoubleNear(0.35, 0.002)));
    EXPECT_EQ(found.building.openings.size(), 3U) << found.Words();
    for (const Opening& opening : found.building.openings)
        EXPECT_EQ(opening.kind, OpeningKind::Window) << found.Words();
}

// 3 cm from crest to trough: a wall as any, and its deviation says so.
TEST(FindBuilding, AWavyWallCarriesItsDeviation) {
    test::HouseScene house;
    AddStorey(house, 0, 2.5, 2.75, 0.03);
    house.AddLevel({-8, -8}, {12, 12}, -0.02);
    const HouseProject project(
        ScanHouse(house, {{1.5, 1.6, 1.5}, {2.8, 2.6, 1.4}, {-5, -5, 1.5}, {9, 1.5, 1.5}}, 0.7));
    const FoundHouse found(project);
    const Room* room = found.RoomAt(0, {2, 2});
    ASSERT_TRUE(room != nullptr);
    EXPECT_NEAR(room->area.value, 16, 0.1);
    const Wall *wavy = nullptr, *straight = nullptr;
    for (const Wall& wall : found.building.walls) {
        const PlanPoint a = project.Back(wall.axis[0]), b = project.Back(wall.axis[1]);
        if (std::abs(a.x - 4.125) < 0.02 && std::abs(b.x - 4.125) < 0.02) wavy = &wall;
        if (std::abs(a.x + 0.125) < 0.01 && std::abs(b.x + 0.125) < 0.01) straight = &wall;
    }
    ASSERT_TRUE(wavy != nullptr && straight != nullptr) << found.Words();
    ASSERT_TRUE(wavy->thickness);
    EXPECT_NEAR(wavy->thickness->value, 0.25, 0.01);
    EXPECT_GT(wavy->deviation, 0.004) << found.Words();
    EXPECT_LT(wavy->deviation, 0.016);
    EXPECT_LT(straight->deviation, 0.002);
    EXPECT_GT(wavy->evidence.rms, 2 * straight->evidence.rms);
}

// Only what one station sees through a doorway of the second room: no room is made up of it that
// would be larger than what walls bound.
TEST(FindBuilding, AHalfScannedRoomEndsWhereItsWallsDo) {
    using test::Fill;
    test::HouseScene house;
    house.AddWall({{-0.1, -0.2}, {-0.1, 4.2}, 0.2, 0, 2.7});
    house.AddWall({{8.1, -0.2}, {8.1, 4.2}, 0.2, 0, 2.7});
    house.AddWall({{0, -0.1}, {8, -0.1}, 0.2, 0, 2.7});
    house.AddWall({{0, 4.1}, {8, 4.1}, 0.2, 0, 2.7});
    house.AddWall({{4.05, 0}, {4.05, 4}, 0.1, 0, 2.5, {{2, 0, 0.9, 2.05, Fill::Nothing}}});
    house.AddLevel({0, 0}, {8, 4}, 0);
    house.AddLevel({0, 0}, {8, 4}, 2.5);
    const HouseProject project(ScanHouse(house, {{2.5, 1.6, 1.5}, {1.2, 2.8, 1.5}}, 0.6));
    const FoundHouse found(project);
    const Room* room = found.RoomAt(0, {2, 2});
    ASSERT_TRUE(room != nullptr);
    EXPECT_NEAR(room->area.value, 16, 0.1) << found.Words();
    for (const Room& other : found.building.rooms)
        EXPECT_LE(other.area.value, 16.2) << found.Words();
    for (const Wall& wall : found.building.walls)
        EXPECT_TRUE(!wall.thickness || wall.thickness->value < 0.3) << found.Words();
}

}  // namespace
}  // namespace orvix::building
