// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "building/element_meshes.h"
#include "building/plan_measures.h"
#include "tests/building/flat.h"
#include "tests/building/found_house.h"

namespace orvix::building {
namespace {

constexpr double kClose = 0.005;

class GabledHouseFound : public testing::Test {
protected:
    static void SetUpTestSuite() {
        project_ = std::make_unique<HouseProject>(ScanHouse(GabledHouse(), GabledStations()));
        found_ = std::make_unique<FoundHouse>(*project_);
    }
    static void TearDownTestSuite() {
        found_.reset();
        project_.reset();
    }
    static const Building& House() { return found_->building; }
    static double Height(double z) { return found_->Height(z); }

    static std::unique_ptr<HouseProject> project_;
    static std::unique_ptr<FoundHouse> found_;
};
std::unique_ptr<HouseProject> GabledHouseFound::project_;
std::unique_ptr<FoundHouse> GabledHouseFound::found_;

// The head of the gable's window is level and looks down, and is no ceiling.
TEST_F(GabledHouseFound, AnAtticReachesUpToItsRidge) {
    ASSERT_EQ(House().storeys.size(), 2U) << found_->Words();
    EXPECT_NEAR(Height(House().storeys[0].elevation), 0, kClose);
    EXPECT_NEAR(Height(House().storeys[0].ceiling), 2.5, kClose);
    EXPECT_NEAR(Height(House().storeys[1].elevation), 2.8, kClose);
    EXPECT_NEAR(Height(House().storeys[1].ceiling), 6.3, 0.03);
}

TEST_F(GabledHouseFound, WallsOfTheLowerStoreyStandFromFloorToFloor) {
    for (const auto& [from, to] : {std::pair<PlanPoint, PlanPoint>{{-0.15, 0}, {-0.15, 5}},
                                   {{6.15, 0}, {6.15, 5}},
                                   {{-0.3, -0.15}, {6.3, -0.15}},
                                   {{-0.3, 5.15}, {6.3, 5.15}}}) {
        const Wall* wall = found_->WallAlong(0, from, to);
        ASSERT_TRUE(wall != nullptr && wall->thickness);
        EXPECT_NEAR(wall->thickness->value, 0.3, 0.002);
        EXPECT_NEAR(Height(wall->base), 0, kClose);
        EXPECT_NEAR(Height(wall->top), 2.8, kClose);
        EXPECT_TRUE(wall->external);
    }
}

// Eaves before a wall, and their fascia, are not what it reaches up to.
TEST_F(GabledHouseFound, WallsOfTheAtticEndUnderTheRoof) {
    for (const double y : {-0.15, 5.15}) {
        const Wall* wall = found_->WallAlong(1, {-0.3, y}, {6.3, y});
        ASSERT_TRUE(wall != nullptr && wall->thickness) << found_->Words();
        EXPECT_NEAR(wall->thickness->value, 0.3, 0.002);
        EXPECT_NEAR(Height(wall->base), 2.8, kClose);
        EXPECT_NEAR(Height(wall->top), 3.65, 0.02);  // under the slope in the wall's middle
    }
    for (const double x : {-0.15, 6.15}) {
        const Wall* wall = found_->WallAlong(1, {x, 0}, {x, 5});
        ASSERT_TRUE(wall != nullptr && wall->thickness) << found_->Words();
        EXPECT_NEAR(wall->thickness->value, 0.3, 0.002);
        EXPECT_EQ(wall->profile.size(), 5U);
        EXPECT_NEAR(AreaWithin(wall->profile), 5 * (1 + 3.5) / 2, 0.05);
        EXPECT_NEAR(Height(wall->top), 6.3, 0.01);
    }
}

// Above the slopes a gable's rectangle is open too, and no window.
TEST_F(GabledHouseFound, OpeningsLieWithinTheGables) {
    EXPECT_EQ(House().openings.size(), 3U) << found_->Words();
    const Opening* window = found_->OpeningAt({2, -0.15}, 0.9, 1.4, 1.2);
    const Opening* gable = found_->OpeningAt({-0.15, 2.5}, 3.7, 1.2, 1.2);
    const Opening* door = found_->OpeningAt({6.15, 4.3}, 0, 0.9, 2);
    ASSERT_TRUE(window != nullptr && gable != nullptr && door != nullptr);
    EXPECT_EQ(window->kind, OpeningKind::Window);
    EXPECT_EQ(gable->kind, OpeningKind::Window);
    EXPECT_EQ(door->kind, OpeningKind::Door);
    EXPECT_EQ(door->state, OpeningState::Closed);
}

TEST_F(GabledHouseFound, SlopesMeetInTheExactRidge) {
    ASSERT_EQ(House().slopes.size(), 2U) << found_->Words();
    for (const RoofSlope& slope : House().slopes) {
        EXPECT_TRUE(slope.upperSeen);
        ASSERT_TRUE(slope.thickness);
        EXPECT_NEAR(slope.thickness->value, 0.2, 0.002);
        EXPECT_NEAR(slope.area, 7 * (3.1 * std::sqrt(2.0) + 0.2), 0.6);  // rims to 5 cm
    }
    ASSERT_EQ(House().edges.size(), 1U);
    const RoofEdge& ridge = House().edges[0];
    EXPECT_EQ(ridge.kind, RoofEdgeKind::Ridge);
    for (const auto& end : ridge.ends) {
        const auto p = project_->Back(end);
        EXPECT_NEAR(p.y, 2.5, 0.002);
        EXPECT_NEAR(p.z, 6.3 + 0.2 * std::sqrt(2.0), 0.002);
    }
    EXPECT_NEAR(std::abs(ridge.ends[0].x - ridge.ends[1].x), 7, 0.15);
}

TEST_F(GabledHouseFound, AStairwellIsARoomOfItsOwnThroughTheSlab) {
    const Room* well = found_->RoomAt(0, {5, 2});
    const Room* below = found_->RoomAt(0, {1, 1});
    const Room* attic = found_->RoomAt(1, {1, 1});
    ASSERT_TRUE(well != nullptr && below != nullptr && attic != nullptr);
    EXPECT_NE(well, below);
    const PlanRing hole{{4.4, 1}, {5.6, 1}, {5.6, 3.6}, {4.4, 3.6}};
    EXPECT_TRUE(SameCorners(found_->Ring(well->plan.outer), hole, 0.01)) << found_->Words();
    EXPECT_NEAR(below->area.value, 30 - 3.12, 0.05);
    EXPECT_NEAR(attic->area.value, 30 - 3.12, 0.05);
    ASSERT_EQ(House().slabs.size(), 2U);
    const Slab& slab = House().slabs[1];
    ASSERT_TRUE(slab.thickness && slab.top && slab.bottom);
    EXPECT_NEAR(slab.thickness->value, 0.3, 0.002);
    EXPECT_NEAR(Height(slab.top->value), 2.8, 0.002);
    ASSERT_EQ(slab.regions.size(), 1U);
    EXPECT_NEAR(NetAreaOf(slab.regions[0]), 6.6 * 5.6 - 3.12, 0.1);
}

// Between the attic's floor and the slopes: 30 m2 up to 3.8, and a roof of 2.5 m on top.
TEST_F(GabledHouseFound, RoomsAreClosedSolidsOfTheirVolume) {
    const Room* attic = found_->RoomAt(1, {1, 1});
    ASSERT_TRUE(attic != nullptr);
    const double over = 1.2 * 2.6 * 1 + 1.2 * (1 + 2.5) / 2 * 1.5 + 1.2 * (2.5 + 1.4) / 2 * 1.1;
    EXPECT_NEAR(attic->height.value, 3.5, 0.01);
    EXPECT_NEAR(attic->volume.value, 30 * 1 + 30 * 2.5 / 2 - over, 0.05);
    for (const ElementMesh& element : MeshesOf(House())) {
        if (element.kind != ElementKind::Room) continue;
        EXPECT_TRUE(element.closed) << element.name;
        const double volume = House().rooms[element.place].volume.value;
        EXPECT_NEAR(VolumeOf(element.mesh), volume, 1e-4 * volume) << element.name;
    }
}

}  // namespace
}  // namespace orvix::building
