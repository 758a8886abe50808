// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>

#include <cmath>

#include "tests/importer/formats/read_all.h"

namespace orvix::test {
namespace {

using testing::HasSubstr;

const std::string kAxes = "0 0 0\n1 0 0\n0 1 0\n0 0 1\n";
const std::string kStill = "1 0 0 0\n0 1 0 0\n0 0 1 0\n0 0 0 1\n";
// A quarter of a turn about z, then (10, 20, 30): the matrix multiplies rows.
const std::string kTurned = "0 1 0 0\n-1 0 0 0\n0 0 1 0\n10 20 30 1\n";

// BEHAVIOUR X21, X22
TEST(Ptx, EveryBlockIsAScanWithItsPose) {
    const WholeScan scan = ReadAll("2\n2\n" + kAxes + kTurned +
                                   "1 0 0 0.5\n0 0 0 0.5\n2 0 0 0.25 1 2 3\nx 0 0 1\n\n1\r\n1\r\n" +
                                   "5 6 7\n0 1 0\n-1 0 0\n0 0 1\n" + kStill + "9 9 9 1\n\n");
    ASSERT_EQ(scan.error, "");
    EXPECT_EQ(Positions(scan), "1 0 0; 2 0 0; 9 9 9");
    EXPECT_EQ(scan.pointless.noReturn, 1u);
    EXPECT_EQ(scan.malformed, 1u);
    EXPECT_EQ(scan.points[1].blue, 3);
    EXPECT_EQ(scan.scanOfPoint, (std::vector<std::size_t>{0, 0, 1}));
    ASSERT_EQ(scan.info.scans.size(), 2u);
    const auto moved = scan.info.scans[0].map->Apply(1, 0, 0);
    EXPECT_EQ(moved.x, 10);
    EXPECT_EQ(moved.y, 21);
    EXPECT_EQ(scan.info.scans[0].pose->position.z, 30);
    EXPECT_NEAR(scan.info.scans[0].pose->rotation.z, std::sqrt(0.5), 1e-15);
    EXPECT_FALSE(scan.info.scans[1].map);
    EXPECT_EQ(scan.info.scans[1].pose->position.x, 5);
    EXPECT_NEAR(scan.info.scans[1].pose->rotation.z, std::sqrt(0.5), 1e-15);
}

TEST(Ptx, SaysWhichBlockIsNotWhole) {
    const std::string first = "1\n2\n" + kAxes + kStill + "1 1 1 1\n2 2 2 1\n";
    EXPECT_EQ(ReadAll(first).error, "");
    EXPECT_THAT(ReadAll("1\n3\n" + kAxes + kStill + "1 1 1 1\n").error,
                HasSubstr("block 1 declares 3 points, but the file ends 2 before"));
    EXPECT_THAT(ReadAll(first + "3 3 3 1\n").error, HasSubstr("line 13 should begin block 2"));
    EXPECT_THAT(ReadAll("1\n1\n" + kAxes + "1 0 0 0\n0 1 0 0\n0 0 -1 0\n0 0 0 1\n1 1 1 1\n").error,
                HasSubstr("line 1 should begin block 1"));
    EXPECT_THAT(ReadAll("1\n1\n" + kAxes + "0 0 0 0\n0 0 0 0\n0 0 0 0\n0 0 0 1\n1 1 1 1\n").error,
                HasSubstr("turns and moves"));
}

TEST(Ptx, BlocksLongerThanAPieceAreCutAtTheirLastLine) {
    std::string text;
    for (int block = 0; block < 3; ++block) {
        text += "1000\n200\n" + kAxes + kStill;
        for (int i = 1; i <= 200'000; ++i) text += "1 2 3 0.5\n";
    }
    const WholeScan scan = ReadAll(text);
    ASSERT_EQ(scan.error, "");
    EXPECT_EQ(scan.points.size(), 600'000u);
    EXPECT_EQ(scan.info.scans.size(), 3u);
    EXPECT_EQ(std::count(scan.scanOfPoint.begin(), scan.scanOfPoint.end(), 1u), 200'000);
}

TEST(Pts, EveryCountInItsPlaceLeadsAScan) {
    const WholeScan scan =
        ReadAll("2\n1 1 1 5\n2 2 2 6\n1\n3 3 3 7\n3\n4 4 4 8\n5 5 5 9\n6 6 6 1\n");
    ASSERT_EQ(scan.error, "");
    EXPECT_EQ(scan.scanOfPoint, (std::vector<std::size_t>{0, 0, 1, 2, 2, 2}));
    EXPECT_EQ(scan.malformed, 0u);
    EXPECT_EQ(scan.info.scans.size(), 3u);
    EXPECT_FALSE(scan.info.scans[1].pose);
}

// BEHAVIOUR X23
TEST(Pts, ACountThatIsWrongOnlyJoinsScans) {
    const WholeScan few = ReadAll("1\n1 1 1 5\n2 2 2 6\n1\n3 3 3 7\n");
    EXPECT_EQ(Positions(few), "1 1 1; 2 2 2; 3 3 3");
    EXPECT_EQ(few.malformed, 1u);
    EXPECT_EQ(few.info.scans.size(), 1u);
    EXPECT_EQ(ReadAll("99\n1 1 1 5\n2 2 2 6\n").points.size(), 2u);
}

}  // namespace
}  // namespace orvix::test
