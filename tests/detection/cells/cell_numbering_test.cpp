// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/cells/cell_numbering.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace orvix::detection {
namespace {

TEST(CellNumbering, CountsCellsInTheOrderInWhichTheyAreMet) {
    CellNumbering numbering(CellFrame(3));  // 0.5 m: two an axis in a metre
    const auto numberOf = [&](float x, float y, float z) {
        CCloudPoint<float> p;
        p.x = x;
        p.y = y;
        p.z = z;
        return numbering.NumberOf(p);
    };
    EXPECT_EQ(numberOf(0.1F, 0.2F, 0.3F), 0U);
    EXPECT_TRUE(numbering.IsNew());
    EXPECT_EQ(numberOf(0.6F, 0.5F, 0.3F), 1U);
    EXPECT_TRUE(numbering.IsNew());
    EXPECT_EQ(numberOf(0.0F, 0.499999F, 0.3F), 0U);
    EXPECT_FALSE(numbering.IsNew());
    EXPECT_EQ(numberOf(1.0F, 0.5F, 0.3F), 2U);
    EXPECT_EQ(numberOf(-0.1F, -0.1F, -0.1F), 3U);
    EXPECT_TRUE(numbering.IsNew());
    EXPECT_EQ(numberOf(-0.4F, -0.2F, -0.1F), 3U);
    EXPECT_FALSE(numbering.IsNew());
    // Back in a metre that was left: its cells are new ones.
    EXPECT_EQ(numberOf(0.1F, 0.2F, 0.3F), 4U);
    EXPECT_TRUE(numbering.IsNew());
    EXPECT_EQ(numberOf(0.6F, 0.5F, 0.3F), 5U);
    EXPECT_EQ(numberOf(0.2F, 0.2F, 0.3F), 4U);
    EXPECT_FALSE(numbering.IsNew());
}

TEST(CellNumbering, AgreesWithTheFrameAtTheRimsOfCells) {
    std::mt19937 random(11);
    for (std::size_t step = 0; step < CellFrame::kSizes.size(); ++step) {
        const CellFrame frame(step);
        CellNumbering numbering(frame);
        for (int i = 0; i < 3000; ++i) {
            CCloudPoint<float> p;
            p.x = static_cast<float>(frame.Size() * static_cast<double>(random() % 4));
            p.y = p.z = static_cast<float>(frame.Size() / 2);
            for (auto steps = random() % 3; steps > 0; --steps)
                p.x = std::nextafter(p.x, random() % 2 == 0 ? 100.0F : -100.0F);
            numbering.NumberOf(p);
            EXPECT_EQ(numbering.Place(), frame.PlaceOf(p)) << p.x;
        }
    }
}

}  // namespace
}  // namespace orvix::detection
