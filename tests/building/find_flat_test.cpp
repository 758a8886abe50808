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

using testing::ElementsAre;
using testing::HasSubstr;

constexpr double kClose = 0.005;

const std::vector<HouseStation>& Scans() {
    static const std::vector<HouseStation> scans = ScanHouse(Flat(), FlatStations(), 0.4);
    return scans;
}

BuildingOptions Threads(unsigned threads) {
    BuildingOptions options;
    options.threads = threads;
    return options;
}

void ExpectWalls(const FoundHouse& found) {
    EXPECT_EQ(found.building.walls.size(), 8U) << found.Words();
    struct Expected {
        PlanPoint from, to;
        double thickness;
        bool external;
    };
    for (const auto& [from, to, thickness, external] : {Expected{{-0.15, 0}, {-0.15, 5}, 0.3, true},
                                                        {{9.15, 0}, {9.15, 5}, 0.3, true},
                                                        {{-0.3, -0.15}, {9.3, -0.15}, 0.3, true},
                                                        {{-0.3, 5.15}, {9.3, 5.15}, 0.3, true},
                                                        {{5.06, 0}, {5.06, 5}, 0.12, false},
                                                        {{5.12, 2.45}, {9, 2.45}, 0.1, false}}) {
        const Wall* wall = found.WallAlong(0, from, to);
        ASSERT_TRUE(wall != nullptr && wall->thickness) << found.Words();
        EXPECT_NEAR(wall->thickness->value, thickness, 0.002);
        EXPECT_LE(wall->thickness->low, thickness + 1e-4);
        EXPECT_GE(wall->thickness->high, thickness - 1e-4);
        EXPECT_EQ(wall->external, external) << from.x << ", " << from.y;
        EXPECT_NEAR(found.Height(wall->base), 0, kClose);
        EXPECT_GE(found.Height(wall->top), 2.6 - kClose);
        EXPECT_LT(wall->deviation, 0.003);
        EXPECT_LT(wall->evidence.rms, 0.003);
    }
    // What nobody saw from within is a face without a thickness.
    for (const auto& [from, to] :
         {std::pair<PlanPoint, PlanPoint>{{7.8, 3.7}, {7.8, 5}}, {{7.8, 3.7}, {9, 3.7}}}) {
        const Wall* wall = found.WallAlong(0, from, to);
        ASSERT_TRUE(wall != nullptr);
        EXPECT_FALSE(wall->thickness);
        EXPECT_NE(wall->leftSeen, wall->rightSeen);
        EXPECT_TRUE(wall->evidence.inferred & kOtherSide);
    }
}

void ExpectRooms(const FoundHouse& found) {
    EXPECT_EQ(found.building.rooms.size(), 3U) << found.Words();
    struct Expected {
        PlanPoint in;
        PlanRing plan;
    };
    for (const auto& [in, plan] :
         {Expected{{2, 2}, {{0, 0}, {5, 0}, {5, 5}, {0, 5}}},
          {{7, 1}, {{5.12, 0}, {9, 0}, {9, 2.4}, {5.12, 2.4}}},
          {{6, 3}, {{5.12, 2.5}, {9, 2.5}, {9, 3.7}, {7.8, 3.7}, {7.8, 5}, {5.12, 5}}}}) {
        const Room* room = found.RoomAt(0, in);
        ASSERT_TRUE(room != nullptr);
        EXPECT_TRUE(SameCorners(found.Ring(room->plan.outer), plan, kClose)) << found.Words();
        EXPECT_TRUE(room->plan.holes.empty());
        const double area = AreaWithin(plan);
        EXPECT_NEAR(room->area.value, area, 0.002 * area);
        EXPECT_NEAR(room->height.value, 2.6, kClose);
        EXPECT_NEAR(room->volume.value, 2.6 * area, 0.005 * area);
        EXPECT_NEAR(found.Height(room->floor), 0, kClose);
        for (const Measure* measure : {&room->area, &room->height, &room->volume}) {
            EXPECT_LE(measure->low, measure->value);
            EXPECT_GE(measure->high, measure->value);
        }
    }
}

void ExpectOpenings(const FoundHouse& found) {
    EXPECT_EQ(found.building.openings.size(), 7U) << found.Words();
    const Opening* entrance = found.OpeningAt({-0.15, 1}, 0, 1, 2.1);
    const Opening* free = found.OpeningAt({5.06, 1.2}, 0, 0.9, 2.05);
    // The leaf, 4 cm thick, stands before one of its jambs.
    const Opening* leaf = found.OpeningAt({5.06, 3.6}, 0, 0.85, 2.05, 0.09);
    const Opening* closed = found.OpeningAt({7.6, 2.45}, 0, 0.8, 2);
    ASSERT_TRUE(entrance != nullptr && free != nullptr && leaf != nullptr && closed != nullptr);
    for (const Opening* door : {entrance, free, leaf, closed})
        EXPECT_EQ(door->kind, OpeningKind::Door) << found.Words();
    EXPECT_EQ(entrance->state, OpeningState::Closed);
    EXPECT_EQ(closed->state, OpeningState::Closed);
    EXPECT_EQ(free->state, OpeningState::Free);
    EXPECT_GT(free->free, 0.7);
    EXPECT_EQ(leaf->state, OpeningState::Open);
    EXPECT_LT(closed->free, 0.05);
    for (const Opening* window :
         {found.OpeningAt({2.6, -0.15}, 0.9, 1.5, 1.3), found.OpeningAt({6.4, 5.15}, 0.9, 1, 1.2),
          found.OpeningAt({9.15, 1.2}, 1, 1.2, 1.1)}) {
        ASSERT_TRUE(window != nullptr);
        EXPECT_EQ(window->kind, OpeningKind::Window);
        EXPECT_NE(window->rooms[0].has_value(), window->rooms[1].has_value());
    }
    const auto joins = [&](const Opening* door, const PlanPoint& a, const PlanPoint& b) {
        std::vector<const Room*> rooms;
        for (const auto& room : door->rooms)
            if (room) rooms.push_back(&found.building.rooms[*room]);
        EXPECT_THAT(rooms, testing::UnorderedElementsAre(found.RoomAt(0, a), found.RoomAt(0, b)));
    };
    joins(free, {2, 2}, {7, 1});
    joins(leaf, {2, 2}, {6, 3});
    joins(closed, {7, 1}, {6, 3});
}

void ExpectFlat(const FoundHouse& found) {
    ASSERT_EQ(found.building.storeys.size(), 1U) << found.Words();
    EXPECT_NEAR(found.Height(found.building.storeys[0].elevation), 0, kClose);
    EXPECT_NEAR(found.Height(found.building.storeys[0].ceiling), 2.6, kClose);
    EXPECT_TRUE(found.building.slopes.empty());
    EXPECT_TRUE(found.building.remarks.empty()) << found.Words();
    ExpectWalls(found);
    ExpectRooms(found);
    ExpectOpenings(found);
}

class FlatFound : public testing::Test {
protected:
    static void SetUpTestSuite() {
        project_ = std::make_unique<HouseProject>(Scans());
        found_ = std::make_unique<FoundHouse>(*project_);
    }
    static void TearDownTestSuite() {
        found_.reset();
        project_.reset();
    }
    static const Building& House() { return found_->building; }

    static std::unique_ptr<HouseProject> project_;
    static std::unique_ptr<FoundHouse> found_;
};
std::unique_ptr<HouseProject> FlatFound::project_;
std::unique_ptr<FoundHouse> FlatFound::found_;

// A wardrobe, a hanging cupboard, leaves and people are no walls.
TEST_F(FlatFound, WallsRoomsAndOpeningsAreWhereTheyStand) {
    ExpectFlat(*found_);
}

TEST_F(FlatFound, SlabsAreUnderAndOverTheRooms) {
    ASSERT_EQ(House().slabs.size(), 2U);
    ASSERT_TRUE(House().slabs[0].top && House().slabs[1].bottom);
    EXPECT_NEAR(found_->Height(House().slabs[0].top->value), 0, 0.002);
    EXPECT_NEAR(found_->Height(House().slabs[1].bottom->value), 2.6, 0.002);
    for (const Slab& slab : House().slabs) {
        EXPECT_FALSE(slab.thickness);
        EXPECT_TRUE(slab.evidence.inferred & kOtherSide);
        ASSERT_EQ(slab.regions.size(), 1U);
        EXPECT_NEAR(NetAreaOf(slab.regions[0]), 9.6 * 5.6, 0.1) << found_->Words();
    }
}

TEST_F(FlatFound, SolidsOfRoomsAreClosedAndHoldTheirVolume) {
    int rooms = 0;
    for (const ElementMesh& element : MeshesOf(House())) {
        if (element.kind != ElementKind::Room) continue;
        ++rooms;
        EXPECT_TRUE(element.closed) << element.name;
        const double volume = House().rooms[element.place].volume.value;
        EXPECT_NEAR(VolumeOf(element.mesh), volume, 1e-4 * volume) << element.name;
    }
    EXPECT_EQ(rooms, 3);
}

TEST_F(FlatFound, FacesOfRoomsNameTheWallThatTheyLieOn) {
    for (const Room& room : House().rooms)
        for (const RoomFace& face : room.faces) {
            if (face.kind != BoundKind::Wall) continue;
            ASSERT_TRUE(face.wall) << room.name;
            const Wall& wall = House().walls[*face.wall];
            const double half = wall.thickness ? wall.thickness->value / 2 : 0;
            const double dx = wall.axis[1].x - wall.axis[0].x, dy = wall.axis[1].y - wall.axis[0].y;
            for (const auto& p : face.ring) {
                const double aside = ((p.x - wall.axis[0].x) * dy - (p.y - wall.axis[0].y) * dx) /
                                     std::hypot(dx, dy);
                EXPECT_NEAR(std::abs(aside), half, 0.003) << room.name;
            }
        }
}

// Each element names the stations that saw it: the closet's front only those of its own room and of
// the one whose door looks at it.
TEST_F(FlatFound, EvidenceSaysWhoSawWhatAndHowMuch) {
    const Wall* west = found_->WallAlong(0, {-0.15, 0}, {-0.15, 5});
    ASSERT_TRUE(west != nullptr);
    EXPECT_THAT(west->evidence.stations, testing::IsSupersetOf({0U, 1U, 4U, 7U}));
    EXPECT_THAT(west->evidence.stations, testing::Not(testing::Contains(5U)));
    EXPECT_THAT(west->evidence.stations, testing::Not(testing::Contains(6U)));
    EXPECT_GT(west->evidence.seen, 0.9);
    EXPECT_GT(west->evidence.points, 10'000U);
    const Room* a = found_->RoomAt(0, {2, 2});
    ASSERT_TRUE(a != nullptr);
    EXPECT_THAT(a->evidence.stations, testing::IsSupersetOf({0U, 1U}));
    for (const Wall& wall : House().walls) {
        EXPECT_TRUE(std::is_sorted(wall.evidence.stations.begin(), wall.evidence.stations.end()));
        EXPECT_TRUE(std::is_sorted(wall.evidence.planes.begin(), wall.evidence.planes.end()));
        for (const std::uint32_t plane : wall.evidence.planes)
            EXPECT_THAT(project_->Planes().Numbers(), testing::Contains(plane));
        EXPECT_LE(wall.evidence.seen + wall.evidence.hidden, 1 + 1e-9);
    }
}

TEST_F(FlatFound, TheSameBitsComeOfAnyNumberOfThreads) {
    const std::vector<double> one = FingerprintOf(project_->Find(Threads(1)));
    EXPECT_GT(one.size(), 500U);
    for (const unsigned threads : {2U, 4U})
        EXPECT_EQ(FingerprintOf(project_->Find(Threads(threads))), one) << threads;
}

// Less memory gives coarser pictures of what stations saw; walls and rooms stay.
TEST_F(FlatFound, ATinyMemoryLimitKeepsWallsAndRooms) {
    BuildingOptions options;
    options.memoryLimitBytes = 1'000'000;
    const FoundHouse poor(*project_, options);
    ExpectWalls(poor);
    EXPECT_EQ(poor.building.rooms.size(), 3U) << poor.Words();
}

TEST_F(FlatFound, CanBeCancelledAtAnyTime) {
    int calls = 0;
    BuildingOptions options;
    options.threads = 2;
    options.proceed = [&] { return ++calls > 0; };
    ASSERT_TRUE(project_->Search(options));
    ASSERT_GT(calls, 2);
    const int all = calls;
    for (const int last : {1, all / 4, all / 2}) {
        calls = 0;
        options.proceed = [&] { return ++calls < last; };
        const auto found = project_->Search(options);
        ASSERT_FALSE(found) << last << " of " << all;
        EXPECT_EQ(found.error().code, ErrorCode::Cancelled);
        EXPECT_THAT(found.error().message, HasSubstr("cancelled"));
    }
}

TEST_F(FlatFound, ProgressNeverFalls) {
    double last = 0;
    BuildingOptions options;
    options.progress = [&](double done) {
        EXPECT_GE(done, last);
        EXPECT_LE(done, 1);
        last = done;
    };
    ASSERT_TRUE(project_->Search(options));
    EXPECT_GT(last, 0.9);
}

TEST(FindBuilding, AHouseThatIsTurnedAndMovedIsTheSame) {
    HouseImport how;
    how.turn = 31;
    how.shift = {300, -200, 50};
    const HouseProject project(Scans(), how);
    ExpectFlat(FoundHouse(project));
}

TEST(FindBuilding, WithoutStationsThereAreWallsAndASentence) {
    HouseImport how;
    how.poses = false;
    const HouseProject project(Scans(), how);
    ASSERT_TRUE(project.Stations().empty());
    const FoundHouse found(project);
    EXPECT_FALSE(found.building.stationsKnown);
    EXPECT_THAT(found.building.remarks, testing::Contains(HasSubstr("positions of scanners")));
    for (const auto& [from, to] :
         {std::pair<PlanPoint, PlanPoint>{{-0.15, 0}, {-0.15, 5}}, {{5.06, 0}, {5.06, 5}}}) {
        const Wall* wall = found.WallAlong(0, from, to);
        ASSERT_TRUE(wall != nullptr && wall->thickness) << found.Words();
    }
}

// Points 10 to 20 cm apart: rims are coarser and facades are lost; rooms that a station stood in are
// not, nor the wall between them.
TEST(FindBuilding, AThinScanShowsTheSameRooms) {
    HouseImport how;
    how.every = 19;
    const HouseProject project(Scans(), how);
    const FoundHouse found(project);
    const Wall* wall = found.WallAlong(0, {5.06, 0}, {5.06, 5});
    ASSERT_TRUE(wall != nullptr && wall->thickness) << found.Words();
    EXPECT_NEAR(wall->thickness->value, 0.12, 0.002);
    EXPECT_EQ(found.building.storeys.size(), 1U);
    for (const auto& [in, area] :
         {std::pair<PlanPoint, double>{{2, 2}, 25}, {{7, 1}, 3.88 * 2.4}}) {
        const Room* room = found.RoomAt(0, in);
        ASSERT_TRUE(room != nullptr);
        EXPECT_NEAR(room->area.value, area, 0.005 * area);
        EXPECT_NEAR(room->height.value, 2.6, kClose);
    }
}

TEST(FindBuilding, FromOutsideAloneThereAreFacesAndASentence) {
    const HouseProject project({Scans().begin() + 4, Scans().end()});
    const FoundHouse found(project);
    EXPECT_FALSE(found.building.remarks.empty());
    EXPECT_TRUE(found.building.rooms.empty()) << found.Words();
    for (const Wall& wall : found.building.walls) EXPECT_FALSE(wall.thickness) << found.Words();
}

TEST(FindBuilding, OneRoomAloneIsARoomOfSingleFaces) {
    const HouseProject project({Scans()[2]});
    const FoundHouse found(project);
    const Room* room = found.RoomAt(0, {7, 1});
    ASSERT_TRUE(room != nullptr);
    EXPECT_NEAR(room->area.value, 3.88 * 2.4, 0.05) << found.Words();
    EXPECT_NEAR(room->height.value, 2.6, kClose);
    EXPECT_THAT(room->evidence.stations, ElementsAre(0U));
}

}  // namespace
}  // namespace orvix::building
