// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/points/index_hash_reader.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "support/scratch_folder.h"

namespace orvix {
namespace {

class IndexHashReader : public testing::Test {
protected:
    void Write(const std::vector<std::uint64_t>& keys) { test::WriteRecords(path, keys); }
    /// The place of a cell, or -1.
    int Place(const CIndexHashReader& reader, const SimplePointT<int>& cell) {
        int index = -1;
        return reader.Find(cell, index) ? index : -1;
    }

    test::ScratchFolder folder;
    CString path = folder / L"index_hash";
    // 5 by 4 cells in a layer; origins 9, 19 and 29.
    SimplePointT<float> min{10, 20, 30};
    SimplePointT<float> max{14, 23, 31};
};

TEST_F(IndexHashReader, NumbersCellsWithXFastestThenYThenZ) {
    Write({26, 27, 31, 46});
    const CIndexHashReader reader(path, min, max);
    EXPECT_EQ(Place(reader, {10, 20, 30}), 0);  // ((30 - 29) x 4 - 19 + 20) x 5 - 9 + 10
    EXPECT_EQ(Place(reader, {11, 20, 30}), 1);
    EXPECT_EQ(Place(reader, {10, 21, 30}), 2);
    EXPECT_EQ(Place(reader, {10, 20, 31}), 3);
    EXPECT_EQ(Place(reader, {12, 20, 30}), -1);
}

TEST_F(IndexHashReader, FindsTheFirstOfEqualKeysAndLeavesTheIndexOtherwise) {
    Write({1, 26, 26});
    const CIndexHashReader reader(path, min, max);
    int index = 40;
    EXPECT_FALSE(reader.Find({11, 20, 30}, index));
    EXPECT_EQ(index, 40);
    EXPECT_TRUE(reader.Find({10, 20, 30}, index));
    EXPECT_EQ(index, 1);
}

// BEHAVIOUR R11
TEST_F(IndexHashReader, GivesACellOutsideTheBoxAKeyToo) {
    Write({31});
    // One past the row's end is the next row's first.
    EXPECT_EQ(Place(CIndexHashReader(path, min, max), {15, 20, 30}), 0);
}

TEST_F(IndexHashReader, WrapsKeysInThirtyTwoBitsAndWidensTheirSign) {
    Write({0xFFFFFFFF'80000000u, 0x80000000u, 0xFFFFFFFF'FFFFFFFFu});
    const CIndexHashReader reader(path, {1, 1, 1}, {65'536, 1, 1});
    // 65,536 wide, 1 high, origins 0: z and y count whole rows.
    EXPECT_EQ(Place(reader, {0, 0, 32'768}), 0);
    EXPECT_EQ(Place(reader, {-1, 0, 0}), 2);
    EXPECT_EQ(Place(reader, {-1, 0, 65'536}), 2);
}

TEST_F(IndexHashReader, DropsFractionsAfterSubtractingInSinglePrecision) {
    Write({1, 6});
    // Width 7.75 is 7; origin 0.5 - 1 is 0.
    const CIndexHashReader reader(path, {0.5f, 0.5f, 0.5f}, {7.25f, 0.5f, 0.5f});
    EXPECT_EQ(Place(reader, {1, 0, 0}), 0);
    EXPECT_EQ(Place(reader, {-1, 1, 0}), 1);
}

TEST_F(IndexHashReader, IgnoresBytesBehindTheLastWholeKey) {
    const std::vector<std::uint8_t> bytes{26, 0, 0, 0, 0, 0, 0, 0, 27, 0, 0, 0, 0, 0, 0};
    test::WriteBytes(path, bytes.data(), bytes.size());
    const CIndexHashReader reader(path, min, max);
    EXPECT_EQ(Place(reader, {10, 20, 30}), 0);
    EXPECT_EQ(Place(reader, {11, 20, 30}), -1);
}

TEST_F(IndexHashReader, FindsNothingWithoutTheFileAndKeepsItsKeysWithoutIt) {
    EXPECT_EQ(Place(CIndexHashReader(path, min, max), {10, 20, 30}), -1);
    Write({26});
    const CIndexHashReader reader(path, min, max);
    CIndexHashReader copy(folder / L"none", max, min);
    copy = reader;
    Write({});
    EXPECT_EQ(Place(copy, {10, 20, 30}), 0);
}

}  // namespace
}  // namespace orvix
