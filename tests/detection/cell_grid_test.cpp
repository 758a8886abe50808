// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/cell_grid.h"

#include <gtest/gtest.h>
#include <map>
#include <random>

namespace orvix::detection {
namespace {

TEST(CellFrame, NestsInTheProjectsCellsOnBothSidesOfZero) {
    std::mt19937 random(3);
    std::uniform_real_distribution<float> metres(-25, 25);
    for (std::size_t step = 0; step < CellFrame::kSizes.size(); ++step) {
        const CellFrame frame(step);
        for (int i = 0; i < 2000; ++i) {
            const float v = metres(random);
            const AxisCell project = CellOf(v);
            const std::int32_t cell = frame.Along(v);
            EXPECT_LE(std::abs(v - frame.Middle(cell)), frame.Size() / 2 * (1 + 1e-6)) << v;
            const std::int32_t unit = frame.InMetre() ? project.cell100 : project.cell1000;
            EXPECT_GE(cell, unit * frame.PerUnit());
            EXPECT_LT(cell, (unit + 1) * frame.PerUnit());
            if (step == 0) {
                EXPECT_EQ(cell, project.cell100 * 10 + project.cell10);
            }
        }
    }
}

TEST(CellFrame, HoldsOnlyCoordinatesThatHaveACell) {
    EXPECT_TRUE(CellFrame::Holds(-99'999'000.0F));
    EXPECT_FALSE(CellFrame::Holds(1e8F));
    EXPECT_FALSE(CellFrame::Holds(std::numeric_limits<float>::quiet_NaN()));
    EXPECT_FALSE(CellFrame::Holds(-std::numeric_limits<float>::infinity()));
}

class CellGridModel : public testing::TestWithParam<std::uint32_t> {};

TEST_P(CellGridModel, FindsWhatAMapFinds) {
    std::mt19937 random(GetParam());
    std::uniform_int_distribution<std::int32_t> place(-9, 9);
    std::map<CellPlace, std::uint32_t> oracle;
    std::vector<Cell> cells;
    for (int i = 0; i < 900; ++i) {
        Cell cell;
        cell.place = {place(random), place(random), place(random)};
        if (oracle.emplace(cell.place, static_cast<std::uint32_t>(cells.size())).second)
            cells.push_back(cell);
    }
    CellGrid grid(CellFrame(0), cells);
    ASSERT_TRUE(grid.Link());
    const auto expected = [&](const CellPlace& at) {
        const auto found = oracle.find(at);
        return found == oracle.end() ? kNoCell : found->second;
    };
    std::array<std::uint32_t, 27> around;
    for (std::uint32_t i = 0; i < grid.Size(); ++i) {
        grid.Around(i, around);
        std::size_t at = 0;
        for (std::int32_t x = -1; x <= 1; ++x)
            for (std::int32_t y = -1; y <= 1; ++y)
                for (std::int32_t z = -1; z <= 1; ++z) {
                    const CellPlace& p = grid[i].place;
                    EXPECT_EQ(around[at++], expected({p[0] + x, p[1] + y, p[2] + z}));
                }
        EXPECT_EQ(around[13], i);
    }
    EXPECT_EQ(grid.CellAt({100, 0, 0}), kNoCell);
}

INSTANTIATE_TEST_SUITE_P(Seeds, CellGridModel, testing::Range(0U, 4U));

TEST(CellGrid, RefusesAPlaceThatComesTwice) {
    std::vector<Cell> cells(2);
    CellGrid grid(CellFrame(0), cells);
    const auto linked = grid.Link();
    ASSERT_FALSE(linked);
    EXPECT_EQ(linked.error().code, ErrorCode::Damaged);
}

TEST(CellNumbering, CountsCellsInTheOrderInWhichTheyAreMet) {
    const CellFrame frame(3);  // 0.5 m: two an axis in a metre
    CellNumbering numbering(frame);
    bool isNew = false;
    EXPECT_EQ(numbering.NumberOf({0, 0, 0}, isNew), 0U);
    EXPECT_TRUE(isNew);
    EXPECT_EQ(numbering.NumberOf({1, 1, 0}, isNew), 1U);
    EXPECT_EQ(numbering.NumberOf({0, 0, 0}, isNew), 0U);
    EXPECT_FALSE(isNew);
    EXPECT_EQ(numbering.NumberOf({2, 1, 0}, isNew), 2U);
    EXPECT_EQ(numbering.NumberOf({-1, -1, -1}, isNew), 3U);
    EXPECT_TRUE(isNew);
    EXPECT_EQ(numbering.Count(), 4U);
}

}  // namespace
}  // namespace orvix::detection
