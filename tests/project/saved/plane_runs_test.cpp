// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/saved/plane_runs.h"

#include <gtest/gtest.h>

#include <random>

namespace orvix::detail {
namespace {

std::vector<std::int32_t> PlanesOf(const std::vector<PlaneRun>& runs) {
    std::vector<std::int32_t> planes;
    for (const PlaneRun& run : runs) planes.insert(planes.end(), run.count, run.plane);
    return planes;
}

TEST(PlaneRuns, GiveEveryPointItsPlaneBack) {
    std::mt19937 draw(7);
    for (int round = 0; round < 200; ++round) {
        std::vector<std::int32_t> planes(draw() % 2000);
        for (std::int32_t& plane : planes)
            plane = static_cast<std::int32_t>(draw() % (draw() % 3 == 0 ? 70'000 : 3)) - 1;
        std::vector<std::uint8_t> bytes;
        EncodeRuns(RunsOf(planes), bytes);
        std::vector<PlaneRun> runs;
        ASSERT_TRUE(DecodeRuns(bytes, 70'000, static_cast<std::uint32_t>(planes.size()), runs));
        EXPECT_EQ(PlanesOf(runs), planes);
    }
}

TEST(PlaneRuns, HoldARunOfAsManyPointsAsABlockMayEverHave) {
    const std::vector<PlaneRun> runs{{0x7FFFFFFE, 0xFFFFFFFF}};
    std::vector<std::uint8_t> bytes;
    EncodeRuns(runs, bytes);
    EXPECT_EQ(bytes.size(), 10U);
    std::vector<PlaneRun> back;
    ASSERT_TRUE(DecodeRuns(bytes, 0x7FFFFFFF, 0xFFFFFFFF, back));
    ASSERT_EQ(back.size(), 1U);
    EXPECT_EQ(back[0].plane, 0x7FFFFFFE);
    EXPECT_EQ(back[0].count, 0xFFFFFFFF);
}

// Any two bytes, and any three after a first run: what is taken is what would be written.
TEST(PlaneRuns, TakeNoBytesThatWouldBeWrittenOtherwise) {
    std::vector<PlaneRun> runs;
    for (std::uint32_t word = 0; word < (1U << 24); word += 7) {
        const std::vector<std::uint8_t> bytes{1, 2, static_cast<std::uint8_t>(word),
                                              static_cast<std::uint8_t>(word >> 8),
                                              static_cast<std::uint8_t>(word >> 16)};
        for (const std::uint32_t count : {2U, 5U, 130U}) {
            if (!DecodeRuns(bytes, 3, count, runs)) continue;
            std::vector<std::uint8_t> again;
            EncodeRuns(runs, again);
            ASSERT_EQ(again, bytes);
            ASSERT_EQ(PlanesOf(runs).size(), count);
        }
    }
}

TEST(PlaneRuns, RefuseWhatIsNoListOfRuns) {
    std::vector<PlaneRun> runs;
    using Bytes = std::vector<std::uint8_t>;
    EXPECT_TRUE(DecodeRuns(Bytes{0, 3, 1, 2}, 1, 5, runs));
    EXPECT_FALSE(DecodeRuns(Bytes{0, 3, 1, 2}, 1, 6, runs)) << "too few points";
    EXPECT_FALSE(DecodeRuns(Bytes{0, 3, 1, 2}, 1, 4, runs)) << "too many points";
    EXPECT_FALSE(DecodeRuns(Bytes{0, 3, 2, 2}, 1, 5, runs)) << "no such plane";
    EXPECT_FALSE(DecodeRuns(Bytes{1, 3, 1, 2}, 1, 5, runs)) << "one run as two";
    EXPECT_FALSE(DecodeRuns(Bytes{0, 0, 1, 5}, 1, 5, runs)) << "an empty run";
    EXPECT_FALSE(DecodeRuns(Bytes{0, 0x85, 0}, 1, 5, runs)) << "a long form";
    EXPECT_FALSE(DecodeRuns(Bytes{0, 5, 0}, 1, 5, runs)) << "bytes that follow";
    EXPECT_FALSE(DecodeRuns(Bytes{0xFF, 0xFF, 0xFF, 0xFF, 0x1F, 5}, 1, 5, runs)) << "33 bits";
}

}  // namespace
}  // namespace orvix::detail
