// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/cells/cell_frame.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
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
            const detail::AxisCell project = detail::CellOf(v);
            const std::int32_t cell = frame.CellAt(v);
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

TEST(CellFrame, HasTilesOfWholeCellsOfTheProject) {
    for (std::size_t step = 0; step < CellFrame::kSizes.size(); ++step) {
        const CellFrame frame(step);
        for (std::size_t axis = 0; axis < 3; ++axis)
            EXPECT_LE(frame.PerTile(axis), CellFrame::kMaxCellsPerAxis);
        for (const float v : {-1000.0F, -10.0F, -5.0F, -0.01F, 0.0F, 4.99F, 9.99F, 10.0F, 499.5F}) {
            const std::int32_t metre = detail::CellOf(v).cell100, cell = frame.CellAt(v);
            const CellPlace tile = frame.TileOf({cell, cell, cell});
            EXPECT_EQ(tile, frame.TileOfMetre({metre, metre, metre})) << v;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                EXPECT_GE(cell, frame.OriginOf(tile)[axis]);
                EXPECT_LT(cell, frame.OriginOf(tile)[axis] + frame.PerTile(axis));
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

}  // namespace
}  // namespace orvix::detection
