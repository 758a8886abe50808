// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/plans/draw_plans.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "output/plans/plan_regions.h"
#include "output/plans/room_labels.h"
#include "output/plans/turned_building.h"
#include "output/sheets/plan_formats.h"
#include "support/scenes/sample_building.h"

namespace orvix::output {
namespace {

using building::Building;
using building::OpeningKind;
using building::OpeningState;

std::vector<PlanArc> ArcsOf(const PlanDrawing& plan, PlanLayer layer) {
    std::vector<PlanArc> arcs;
    for (const PlanArc& arc : plan.arcs)
        if (arc.layer == layer) arcs.push_back(arc);
    return arcs;
}

bool HasText(const PlanDrawing& plan, const std::string& wanted) {
    return std::any_of(plan.texts.begin(), plan.texts.end(),
                       [&wanted](const PlanText& text) { return text.text == wanted; });
}

std::size_t Count(const PlanDrawing& plan, PlanLayer layer) {
    return static_cast<std::size_t>(std::count_if(
        plan.paths.begin(), plan.paths.end(), [layer](const auto& p) { return p.layer == layer; }));
}

// Both rooms of a flat of 8 by 4 m, a wall across its middle with a door of 0.9 m in it.
Building FlatOf(OpeningState state, double along) {
    Building flat;
    flat.storeys = {{"Storey 1", 0, 2.5}};
    const auto wall = [&flat](PlanPoint from, PlanPoint to) {
        building::Wall& added = flat.walls.emplace_back();
        added.axis = {from, to};
        added.thickness = building::Measure{0.2, 0.2, 0.2};
        added.top = 2.5;
        added.leftSeen = added.rightSeen = true;
    };
    wall({0, 0}, {8, 0});
    wall({8, 0}, {8, 4});
    wall({8, 4}, {0, 4});
    wall({0, 4}, {0, 0});
    wall({4, 0}, {4, 4});
    for (const double x : {0.1, 4.1}) {
        building::Room room;
        room.name = x < 1 ? "West" : "East";
        room.plan.outer = {{x, 0.1}, {x + 3.8, 0.1}, {x + 3.8, 3.9}, {x, 3.9}};
        room.area = {14.44, 14.4, 14.5};
        room.height = {2.5, 2.5, 2.5};
        room.ceiling = 2.5;
        flat.rooms.push_back(room);
    }
    building::Opening door;
    door.kind = OpeningKind::Door;
    door.state = state;
    door.wall = 4;
    door.along = along;
    door.width = {0.9, 0.9, 0.9};
    door.height = {2, 2, 2};
    door.rooms = {0, 1};
    flat.openings = {door};
    return flat;
}

TEST(DrawPlans, HangsADoorOnTheJambNearerToACornerInTheRoomWithFewerDoors) {
    Building flat = FlatOf(OpeningState::Open, 1);
    // A second door into the eastern room: the first one swings west then.
    flat.openings.push_back(flat.openings[0]);
    flat.openings[1].wall = 1;
    flat.openings[1].along = 2;
    flat.openings[1].rooms = {1, std::nullopt};
    flat.openings[1].state = OpeningState::Free;
    const std::vector<PlanArc> arcs = ArcsOf(DrawPlans(flat, {})[0], PlanLayer::Swing);
    ASSERT_EQ(arcs.size(), 1U);
    EXPECT_NEAR(arcs[0].centre.x, 3.9, 1e-9);
    EXPECT_NEAR(arcs[0].centre.y, 0.55, 1e-9);
    EXPECT_NEAR(arcs[0].from.x, 3.0, 1e-9);
    EXPECT_NEAR(arcs[0].To().x, 3.9, 1e-9);
    EXPECT_NEAR(arcs[0].To().y, 1.45, 1e-9);

    flat.openings[0].along = 3;
    const std::vector<PlanArc> upper = ArcsOf(DrawPlans(flat, {})[0], PlanLayer::Swing);
    ASSERT_EQ(upper.size(), 1U);
    EXPECT_NEAR(upper[0].centre.y, 3.45, 1e-9);
    EXPECT_NEAR(upper[0].To().y, 2.55, 1e-9);
}

TEST(DrawPlans, ShowsWhatWasSeenOfADoorsLeaf) {
    const auto plan = [](OpeningState state) { return DrawPlans(FlatOf(state, 1), {})[0]; };
    EXPECT_EQ(Count(plan(OpeningState::Open), PlanLayer::Door), 1U);
    EXPECT_EQ(Count(plan(OpeningState::Closed), PlanLayer::Door), 1U);
    EXPECT_EQ(ArcsOf(plan(OpeningState::Closed), PlanLayer::SwingGuess).size(), 1U);
    EXPECT_EQ(Count(plan(OpeningState::Unknown), PlanLayer::Door), 0U);
    EXPECT_EQ(ArcsOf(plan(OpeningState::Unknown), PlanLayer::SwingGuess).size(), 1U);
    EXPECT_EQ(Count(plan(OpeningState::Free), PlanLayer::Opening), 2U);
    EXPECT_EQ(Count(plan(OpeningState::Free), PlanLayer::SwingGuess), 0U);
    Building wide = FlatOf(OpeningState::Open, 2);
    wide.openings[0].width.value = 1.6;
    const PlanDrawing two = DrawPlans(wide, {})[0];
    ASSERT_EQ(ArcsOf(two, PlanLayer::Swing).size(), 2U);
    for (const PlanArc& arc : ArcsOf(two, PlanLayer::Swing)) EXPECT_NEAR(arc.To().y, 2, 1e-9);
}

TEST(DrawPlans, NamesAndMeasuresRoomsWhereNothingElseStands) {
    const std::vector<PlanDrawing> plans = DrawPlans(test::SampleBuilding(), {});
    ASSERT_EQ(plans.size(), 2U);
    EXPECT_TRUE(HasText(plans[0], "Room 1.1"));
    EXPECT_TRUE(HasText(plans[0], "29.4 m\u00B2"));
    EXPECT_TRUE(HasText(plans[0], "h 2.50 m"));
    EXPECT_TRUE(HasText(plans[1], "h up to 4.00 m"));
    // Dimensions: the whole, between the faces of walls, of an opening.
    for (const char* number : {"8.30", "6.60", "4.94", "0.12", "1.50", "1.20"})
        EXPECT_TRUE(HasText(plans[0], number)) << number;
    EXPECT_FALSE(HasText(plans[0], "45.0\u00B0"));
    EXPECT_TRUE(HasText(plans[1], "45.0\u00B0"));
    EXPECT_EQ(Count(plans[1], PlanLayer::RoofEdge), 1U);
    for (const PlanDrawing& plan : plans)
        for (std::size_t i = 0; i < plan.texts.size(); ++i)
            for (std::size_t k = i + 1; k < plan.texts.size(); ++k)
                EXPECT_FALSE(BoundsOf(plan.texts[i]).Meets(BoundsOf(plan.texts[k])))
                    << plan.texts[i].text << " on " << plan.texts[k].text;
    EXPECT_FALSE(HasText(DrawPlans(test::SampleBuilding(), {.names = false})[0], "Room 1.1"));
}

TEST(DrawPlans, PutTheTextsOfARoomInsideIt) {
    const Building house = test::SampleBuilding();
    const PlanDrawing plan = DrawPlans(house, {})[0];
    std::size_t found = 0;
    for (const PlanText& text : plan.texts) {
        if (text.layer != PlanLayer::RoomText) continue;
        const PlanBounds box = BoundsOf(text);
        const bool inside =
            std::any_of(house.rooms.begin(), house.rooms.end(), [&box](const auto& room) {
                const PlanPoint corners[] = {
                    box.low, {box.high.x, box.low.y}, box.high, {box.low.x, box.high.y}};
                return std::all_of(std::begin(corners), std::end(corners),
                                   [&room](const auto& p) { return Contains({room.plan}, p); });
            });
        EXPECT_TRUE(inside) << text.text;
        ++found;
    }
    EXPECT_EQ(found, 9U);
}

TEST(DrawPlans, StandTheSameOnTheSheetHoweverTheBuildingIsTurned) {
    const Building house = test::SampleBuilding();
    const PlanPoint way{0.8, 0.6};  // a turn of -36.9 degrees, and back
    const Building turned = Turned(house, way);
    const PlanPoint found = MainDirection(turned);
    EXPECT_NEAR(std::abs(Dot(found, {way.x, -way.y})), 1, 1e-9);
    const std::vector<PlanDrawing> plain = DrawPlans(house, {}), plans = DrawPlans(turned, {});
    ASSERT_EQ(plans.size(), plain.size());
    for (std::size_t i = 0; i < plain.size(); ++i) {
        ASSERT_EQ(plans[i].texts.size(), plain[i].texts.size());
        EXPECT_NEAR(plans[i].bounds.Size().x, plain[i].bounds.Size().x, 0.01);
        EXPECT_NEAR(plans[i].bounds.Size().y, plain[i].bounds.Size().y, 0.25);  // the arrow turns
    }
    for (std::size_t k = 0; k < plain[0].texts.size(); ++k) {
        if (plain[0].texts[k].layer == PlanLayer::Dimension)
            continue;  // 2.045 is rounded either way
        EXPECT_EQ(plans[0].texts[k].text, plain[0].texts[k].text);
    }
}

TEST(DrawPlans, SaySomethingOfABuildingWithoutStoreysOrWalls) {
    EXPECT_TRUE(HasText(DrawPlans({}, {}).at(0), "No storey was found"));
    Building bare;
    bare.storeys = {{"Storey 1", 0, 2.5}};
    const PlanDrawing plan = DrawPlans(bare, {}).at(0);
    EXPECT_TRUE(
        HasText(plan, "Floor +0.00 m, cut 1.20 m above it, 1:100; no wall and no room was found"));
    EXPECT_FALSE(plan.bounds.Empty());
    Building roof = test::SampleBuilding();
    roof.storeys.clear();
    roof.walls.clear();
    roof.rooms.clear();
    EXPECT_TRUE(HasText(DrawPlans(roof, {}).at(0), "Roof"));
    // A room alone, at a larger scale; its slanted neighbour is not there to turn it.
    Building room = test::SampleBuilding();
    room.storeys.resize(1);
    room.walls.clear();
    room.openings.clear();
    room.slopes.clear();
    room.edges.clear();
    room.rooms.resize(1);
    const PlanDrawing alone = DrawPlans(room, {}).at(0);
    EXPECT_EQ(alone.scale, 50);
    EXPECT_TRUE(HasText(alone, "4.94"));
}

TEST(WidestPlace, LiesInTheWiderArmOfARoomAndOffWhatIsCovered) {
    const PlanRegion room{{{0, 0}, {6, 0}, {6, 3}, {1, 3}, {1, 8}, {0, 8}}, {}};
    const PlanPoint middle = WidestPlace(room, {}, 1);
    EXPECT_NEAR(middle.y, 1.5, 0.02);
    EXPECT_GT(middle.x, 1.4);
    const PlanPoint beside = WidestPlace(room, {{{3, 0}, {6, 3}}}, 1);
    EXPECT_LT(beside.x, 2);
}

}  // namespace
}  // namespace orvix::output
