// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/planes/marked_planes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "bench/planes/plane_score.h"
#include "support/scratch_folder.h"

namespace orvix::bench {
namespace {

using testing::HasSubstr;

// A floor 4 by 3 m at z = 1 with a hole, and the wall at x = 4 above its edge.
constexpr const char* kRoom =
    "# a room\r\n"
    "tolerance 0.02\n"
    "plane floor of the room\n"
    "seed 1 1 1\n"
    "equation 0 0 1 -1\n"
    "ring 0 0 4 0 4 3 0 3\n"
    "ring 1 1 2 1 2 2 1 2\n"
    "\n"
    "plane wall\n"
    "equation -1 0 0 4\n"
    "ring 0 1 3 1 3 4 0 4\n";

std::vector<MarkedPlane> Room() {
    auto planes = ParseMarkedPlanes(kRoom, "room.txt");
    EXPECT_TRUE(planes.has_value());
    return planes ? *planes : std::vector<MarkedPlane>{};
}

std::string ErrorOf(std::string_view text) {
    const auto planes = ParseMarkedPlanes(text, "room.txt");
    return planes ? "" : planes.error().message;
}

TEST(MarkedPlanes, APointInTheOutlineAndWithinTheToleranceIsOnThePlane) {
    const auto room = Room();
    EXPECT_EQ(LabelOf(room, {0.5, 0.5, 1.0}), 0);
    EXPECT_EQ(LabelOf(room, {0.5, 0.5, 1.019}), 0);
    EXPECT_EQ(LabelOf(room, {0.5, 0.5, 0.981}), 0);
    EXPECT_EQ(LabelOf(room, {3.99, 1.5, 2.5}), 1);
}

TEST(MarkedPlanes, NothingIsKnownOfPointsElsewhere) {
    const auto room = Room();
    EXPECT_EQ(LabelOf(room, {0.5, 0.5, 1.021}), kUnknownPlane);
    EXPECT_EQ(LabelOf(room, {-0.1, 0.5, 1.0}), kUnknownPlane);
    EXPECT_EQ(LabelOf(room, {4.0, 3.1, 2.0}), kUnknownPlane);
}

TEST(MarkedPlanes, AHoleIsNotThePlane) {
    const auto room = Room();
    EXPECT_EQ(LabelOf(room, {1.5, 1.5, 1.0}), kUnknownPlane);
    EXPECT_EQ(LabelOf(room, {0.9, 1.5, 1.0}), 0);
}

TEST(MarkedPlanes, TheNearestPlaneHasThePointAndTheFirstOfEquallyNearOnes) {
    const auto room = Room();
    EXPECT_EQ(LabelOf(room, {3.995, 0.5, 1.01}), 1);
    EXPECT_EQ(LabelOf(room, {3.99, 0.5, 1.005}), 0);
    EXPECT_EQ(LabelOf(room, {3.9921875, 0.5, 1.0078125}), 0);
}

TEST(MarkedPlanes, APointIsMovedAlongTheNormalBeforeItIsLookedForInTheRings) {
    const auto planes = ParseMarkedPlanes(
        "tolerance 0.5\nplane slope\nequation 0.6 0 0.8 0\nring 0 0 1 0 1 1 0 1\n", "slope.txt");
    ASSERT_TRUE(planes.has_value());
    // Their feet are at x = 0.96 and x = 1.184.
    EXPECT_EQ(LabelOf(*planes, {1.2, 0.5, -0.4}), 0);
    EXPECT_EQ(LabelOf(*planes, {0.95, 0.5, -1.2}), kUnknownPlane);
}

TEST(MarkedPlanes, TellsTheAreaOnThePlaneWithoutHoles) {
    EXPECT_NEAR(Room()[0].Area(), 11.0, 1e-12);
    const auto slope = ParseMarkedPlanes(
        "tolerance 1\nplane slope\nequation 0.6 0 0.8 0\nring 0 0 1 0 1 1 0 1\n", "slope.txt");
    ASSERT_TRUE(slope.has_value());
    EXPECT_NEAR((*slope)[0].Area(), 1.25, 1e-12);
}

TEST(MarkedPlanes, ReadsAFileAndTellsWhichCannotBeRead) {
    test::ScratchFolder folder;
    test::WriteText(folder / L"room.txt", kRoom);
    const auto read = ReadMarkedPlanes(folder / L"room.txt");
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(read->size(), 2U);
    EXPECT_EQ(read->front().name, "floor of the room");
    const auto none = ReadMarkedPlanes(folder / L"none.txt");
    ASSERT_FALSE(none.has_value());
    EXPECT_THAT(none.error().message, HasSubstr("none.txt"));
}

TEST(MarkedPlanes, RefusesABadFileWithItsNameAndLine) {
    EXPECT_THAT(ErrorOf("tolerance 1\nplane a\nequation 0 0 2 0\n"),
                HasSubstr("room.txt, line 3: the normal's length is not one"));
    EXPECT_THAT(ErrorOf("tolerance 1\nplane a\nequation 0 0 1 0\nring 0 0 1 0\n"),
                HasSubstr("line 4: a ring has three corners"));
    EXPECT_THAT(ErrorOf("plane a\n"), HasSubstr("line 1: a plane before any tolerance"));
    EXPECT_THAT(ErrorOf("tolerance -1\n"), HasSubstr("line 1: a tolerance"));
    EXPECT_THAT(ErrorOf("tolerance 1\nring 0 0 1 0 1 1\n"), HasSubstr("before the first plane"));
    EXPECT_THAT(ErrorOf("tolerance 1\nplane a\nring 0 0 1 0 1 1\n"),
                HasSubstr("\"a\" ends without an equation"));
    EXPECT_THAT(ErrorOf("tolerance 1\nplane a\nequation 0 0 1 0\n"), HasSubstr("without a ring"));
    EXPECT_THAT(ErrorOf("tolerance 1\nplane a\nequation 0 0 1 nan\n"), HasSubstr("no numbers"));
    EXPECT_THAT(ErrorOf("tolerance 1\nplane a\ncircle 0 0 1\n"), HasSubstr("\"circle\""));
    EXPECT_THAT(ErrorOf("# nothing\n"), HasSubstr("marks no plane"));
}

TEST(MarkedPlanes, TheCommittedFilesAreWhole) {
    for (const auto* file : {L"/indoor_lobby.txt", L"/building_facades.txt", L"/delft_roofs.txt"}) {
        const auto planes = ReadMarkedPlanes(platform::FromUtf8(ORVIX_MARKED_PLANES) + file);
        ASSERT_TRUE(planes.has_value()) << planes.error().message;
        EXPECT_GE(planes->size(), 25U);
        for (const MarkedPlane& plane : *planes) EXPECT_GT(plane.Area(), 0.5) << plane.name;
    }
}

}  // namespace
}  // namespace orvix::bench
