// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/growth/region_growth.h"

#include <gtest/gtest.h>

#include <random>

namespace orvix::detection {
namespace {

/// Points of level sheets in one tile of 10 cm cells.
class Sheets {
public:
    /// A square of so many cells from a cell on, with noise across it.
    void Add(const CellPlace& from, std::int32_t side, double noise) {
        std::normal_distribution<double> across(0, noise);
        std::uniform_real_distribution<double> along(-0.05, 0.05);
        const Vector middle = TileCells::MiddleOf(frame_, {});
        for (std::int32_t x = 0; x < side; ++x) {
            for (std::int32_t y = 0; y < side; ++y) {
                const CellPlace place{from[0] + x, from[1] + y, from[2]};
                MomentSum sum;
                CellBox box;
                for (int i = 0; i < 20; ++i) {
                    const Vector at = frame_.Middle(place) - middle +
                                      Vector{along(random_), along(random_), across(random_)};
                    sum.Add(at);
                    box.Add(at);
                }
                sums_.keys.push_back(KeyOf(place, {}));
                sums_.sums.push_back(sum);
                sums_.boxes.push_back(box);
            }
        }
    }
    /// `small` as GrowthLimits has it.
    Regions Grow(bool small = true, double minArea = 0.1) {
        CellSums sums = sums_;  // a tile takes what it is given
        TileCells tile(frame_, {}, {&sums, 1});
        tile.Link();
        GrowthLimits limits;
        limits.distance = 0.02;
        limits.minCosine = 0.94;
        limits.minArea = minArea;
        limits.small = small;
        return GrowRegions(tile, ShapesOf(tile), limits);
    }

private:
    CellFrame frame_{0};
    CellSums sums_;
    std::mt19937 random_{5};
};

TEST(GrowRegions, BeginsWithTheFlattestCells) {
    for (const bool flatFirst : {false, true}) {
        Sheets sheets;
        sheets.Add({5, 5, 20}, 8, flatFirst ? 0.001 : 0.005);
        sheets.Add({30, 30, 40}, 8, flatFirst ? 0.005 : 0.001);
        const Regions grown = sheets.Grow();
        ASSERT_EQ(grown.regions.size(), 2U);
        EXPECT_NEAR(grown.regions[0].plane.centre.z, flatFirst ? 2.05 : 4.05, 0.001);
        EXPECT_LT(grown.regions[0].rms, grown.regions[1].rms);
    }
}

TEST(GrowRegions, DropsWhatIsSmallUnlessItTouchesTheTilesRim) {
    Sheets sheets;
    sheets.Add({20, 20, 20}, 2, 0.001);
    sheets.Add({0, 20, 50}, 2, 0.001);
    sheets.Add({0, 40, 30}, 3, 0.001);
    sheets.Add({40, 40, 10}, 3, 0.001);
    // Where points decide about what cells do not explain, a few cells at the rim explain nothing.
    for (const bool small : {false, true}) {
        const Regions grown = sheets.Grow(small);
        ASSERT_EQ(grown.regions.size(), small ? 0U : 2U);
        if (small) continue;
        EXPECT_NEAR(grown.regions[0].plane.centre.x, 0.15, 0.06);
        EXPECT_NEAR(grown.regions[1].plane.centre.x, 0.15, 0.06);
    }
    sheets.Add({0, 5, 55}, 4, 0.001);
    EXPECT_EQ(sheets.Grow(true, 0.5).regions.size(), 1U);
}

}  // namespace
}  // namespace orvix::detection
