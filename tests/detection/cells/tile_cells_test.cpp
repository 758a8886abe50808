// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/cells/tile_cells.h"

#include <gtest/gtest.h>

namespace orvix::detection {
namespace {

TEST(TileCells, RefusesAPlaceThatComesTwice) {
    CellSums sums;
    sums.keys = {KeyOf({1, 2, 3}, {}), KeyOf({1, 2, 4}, {}), KeyOf({1, 2, 3}, {})};
    sums.sums.resize(3);
    sums.boxes.resize(3);
    const auto checked = TileCells(CellFrame(0), {}, {&sums, 1}).Check();
    ASSERT_FALSE(checked);
    EXPECT_EQ(checked.error().code, ErrorCode::Damaged);
}

}  // namespace
}  // namespace orvix::detection
