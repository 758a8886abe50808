// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/points/index_reader.h"

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "support/scratch_folder.h"

namespace orvix {
namespace {

GridCellRecord Cell(std::uint64_t number, std::uint64_t offset, std::uint32_t count) {
    GridCellRecord cell;
    cell.x = static_cast<std::int32_t>(number);
    cell.y = -cell.x;
    cell.z = cell.x * 3 - 7;
    cell.offset = offset;
    cell.count = count;
    return cell;
}

/// Two 1000 cm cells with 3 and 2 cells of 100 cm, whose 10 cm cells number 1 to 5.
class IndexReader : public testing::Test {
protected:
    IndexReader() {
        std::vector<FineCellRecord> fine;
        std::vector<CIndexerSmall> runs;
        std::vector<GridCellRecord> metre;
        for (std::uint32_t i = 0; i < 5; ++i) {
            runs.push_back({fine.size(), i + 1});
            metre.push_back(Cell(i, 1'000 * i, 10 * (i + 1)));
            for (std::uint32_t j = 0; j <= i; ++j) {
                FineCellRecord cell;
                cell.x = static_cast<std::int8_t>(j);
                cell.y = static_cast<std::int8_t>(9 - i);
                cell.z = -1;
                cell.offset = 1'000 * i + j;
                cell.count = j;
                fine.push_back(cell);
            }
        }
        test::WriteRecords(metres_, metre);
        test::WriteRecords<GridCellRecord>(tens_, {Cell(0, 0, 3), Cell(1, 3, 2)});
        test::WriteRecords(fine_, fine);
        test::WriteRecords(runs_, runs);
    }

    test::ScratchFolder folder_;
    CString metres_ = folder_ / L"Grid.idx", tens_ = folder_ / L"Grid1000cm.idx",
            fine_ = folder_ / L"Grid10cm.idx", runs_ = folder_ / L"Grid1to10cm.idx";
};

std::uint64_t Offset100(const CIndexReader& index) {
    std::uint64_t offset = 0;
    unsigned int count = 0;
    index.GetOffsetCount100(offset, count);
    return offset;
}

TEST_F(IndexReader, WalksFromEveryLargeCellToItsSmallestCells) {
    CIndexReader index(metres_, tens_, fine_, runs_, true);
    EXPECT_EQ(index.Count100(), 5);
    std::vector<std::tuple<int, int, int, int>> visited;  // 1000 cm, 100 cm, 10 cm x and y
    for (bool more1000 = true; more1000;) {
        more1000 = index.ReadIndex1000(0);
        int x1000 = 0, x100 = 0, y = 0, z = 0;
        std::uint64_t first = 0;
        unsigned int cells = 0;
        index.GetXYZ1000(x1000, y, z);
        index.GetOffsetCount1000(first, cells);
        index.InitIndex100(first);
        for (bool more100 = true; more100;) {
            more100 = index.ReadIndex100(cells);
            index.GetXYZ100(x100, y, z);
            EXPECT_EQ(y, -x100);
            EXPECT_EQ(z, x100 * 3 - 7);
            EXPECT_EQ(Offset100(index), 1'000u * static_cast<unsigned>(x100));
            const unsigned int fineCells = index.InitIndex10();
            for (bool more10 = true; more10;) {
                more10 = index.ReadIndex10(fineCells);
                char x = 0, fineY = 0, fineZ = 0;
                std::uint64_t offset = 0;
                unsigned int count = 0;
                index.GetXYZ10(x, fineY, fineZ);
                index.GetOffsetCount10(offset, count);
                EXPECT_EQ(static_cast<signed char>(fineZ), -1);
                EXPECT_EQ(offset, Offset100(index) + count);
                visited.emplace_back(x1000, x100, x, fineY);
            }
        }
    }
    std::vector<std::tuple<int, int, int, int>> expected;
    for (int i = 0; i < 5; ++i) {
        for (int j = 0; j <= i; ++j) expected.emplace_back(i < 3 ? 0 : 1, i, j, 9 - i);
    }
    EXPECT_EQ(visited, expected);
}

// BEHAVIOUR R9
TEST_F(IndexReader, TellsWhetherAnotherEntryFollowsAndReadsNothingAfterTheFalse) {
    CIndexReader index(metres_, tens_, fine_, runs_, false);
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(index.ReadIndex100(0), i < 4);
        EXPECT_EQ(Offset100(index), 1'000u * static_cast<unsigned>(i));
    }
    for (int i = 0; i < 3; ++i) {
        EXPECT_FALSE(index.ReadIndex100(0));
        EXPECT_EQ(Offset100(index), 4'000u);
    }
    index.InitIndex100(2);
    EXPECT_FALSE(index.ReadIndex100(1));
    EXPECT_EQ(Offset100(index), 2'000u);
    EXPECT_FALSE(index.ReadIndex100(1));
    EXPECT_EQ(Offset100(index), 2'000u);
}

TEST_F(IndexReader, SelectsTheFineRunOfTheCurrentCell) {
    CIndexReader index(metres_, tens_, fine_, runs_, true);
    index.InitIndex100(3);
    index.ReadIndex100(2);
    EXPECT_EQ(index.InitIndex10(), 4u);
    EXPECT_TRUE(index.ReadIndex10(4));
    index.ReadIndex100(2);
    EXPECT_EQ(index.InitIndex10(), 5u) << "in the middle of another cell's run";
    std::uint64_t offset = 0;
    unsigned int count = 0;
    EXPECT_TRUE(index.ReadIndex10(5));
    index.GetOffsetCount10(offset, count);
    EXPECT_EQ(offset, 4'000u);
}

TEST_F(IndexReader, SlidesItsViewOverAnIndexLongerThanOneView) {
    std::vector<GridCellRecord> cells;
    for (std::uint32_t i = 0; i < 600'000; ++i) cells.push_back(Cell(i, i, i));
    test::WriteRecords(metres_, cells);
    CIndexReader index(metres_, tens_, fine_, runs_, false);
    for (std::uint32_t i = 0; i < 600'000; ++i) {
        ASSERT_EQ(index.ReadIndex100(0), i + 1 < 600'000);
        ASSERT_EQ(Offset100(index), i);
    }
    // A start inside a granule, unbounded: views begin below their first entry from here on.
    index.InitIndex100(1'234);
    for (std::uint32_t i = 1'234; i < 600'000; ++i) {
        ASSERT_EQ(index.ReadIndex100(0), i + 1 < 600'000);
        ASSERT_EQ(Offset100(index), i);
    }
    // Bounded: one view holds the run, however long.
    index.InitIndex100(1'235);
    for (std::uint32_t i = 1'235; i < 1'235 + 500'000; ++i) {
        ASSERT_EQ(index.ReadIndex100(500'000), i + 1 < 1'235 + 500'000);
        ASSERT_EQ(Offset100(index), i);
    }
    EXPECT_FALSE(index.ReadIndex100(500'000));
}

TEST_F(IndexReader, ReadsARunThatTheFileCutsShortToItsEnd) {
    CIndexReader index(metres_, tens_, fine_, runs_, false);
    index.InitIndex100(3);
    EXPECT_TRUE(index.ReadIndex100(9));
    EXPECT_FALSE(index.ReadIndex100(9));
    EXPECT_EQ(Offset100(index), 4'000u);
}

// BEHAVIOUR R10
TEST_F(IndexReader, ReadsEntriesThatDoNotExistAsZeros) {
    test::WriteText(folder_ / L"empty", "");
    for (const CString& path : {folder_ / L"missing", folder_ / L"empty", folder_.Path()}) {
        CIndexReader index(path, path, path, path, true);
        EXPECT_EQ(index.Count100(), 0);
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(Offset100(index), 0u);
            EXPECT_TRUE(index.ReadIndex100(0));
            EXPECT_EQ(index.InitIndex10(), 0u);
        }
    }
    CIndexReader index(metres_, tens_, fine_, runs_, false);
    index.InitIndex100(1'000'000);
    EXPECT_TRUE(index.ReadIndex100(0));
    EXPECT_EQ(Offset100(index), 0u);
    EXPECT_EQ(index.InitIndex10(), 0u) << "no fine level is open";
    EXPECT_FALSE(index.ReadIndex10(0));
}

}  // namespace
}  // namespace orvix
