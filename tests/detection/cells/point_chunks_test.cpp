// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/cells/point_chunks.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

#include "detection/cells/cloud_estimate.h"
#include "tests/detection/opened_project.h"

namespace orvix::detection {
namespace {

// Patches of points far apart, some of them dense: many tiles, and chunks that end within one.
std::vector<SimplePointT<double>> Patches(unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> inPatch(-4, 4), anywhere(-150, 150);
    std::vector<SimplePointT<double>> points;
    for (int patch = 0; patch < 12; ++patch) {
        const SimplePointT<double> at{anywhere(random), anywhere(random), anywhere(random) / 10};
        const int count = patch % 4 == 0 ? 45'000 : 900;
        for (int i = 0; i < count; ++i)
            points.push_back(
                {at.x + inPatch(random), at.y + inPatch(random), at.z + inPatch(random) * 1e-3});
    }
    return points;
}

TEST(PointChunks, FollowEachOtherAndLieInTheirTile) {
    const test::ScratchFolder folder;
    Opened project(WritePoints(folder, Patches(3)));
    const auto reader = project.Core().CreateAlivePointReader();
    for (std::size_t step = 0; step < CellFrame::kSizes.size(); ++step) {
        SCOPED_TRACE(step);
        const auto cut = CutIntoChunks(project.Core(), CellFrame(step));
        ASSERT_TRUE(cut);
        std::uint64_t at = 0;
        std::map<CellPlace, std::size_t> chunkOfCell;
        for (std::size_t i = 0; i < cut->chunks.size(); ++i) {
            const PointChunk& chunk = cut->chunks[i];
            ASSERT_EQ(chunk.first, at);
            at += chunk.count;
            std::vector<CCloudPoint<float>> points;
            reader->ReadIndexPoints(chunk.first, static_cast<std::uint32_t>(chunk.count), points);
            for (const auto& p : points) {
                const CellPlace cell = cut->frame.PlaceOf(p);
                ASSERT_EQ(cut->frame.TileOf(cell), cut->tiles[chunk.tile].place);
                ASSERT_EQ(chunkOfCell.try_emplace(cell, i).first->second, i) << "a cell is cut";
            }
        }
        EXPECT_EQ(at, cut->points);
        EXPECT_EQ(at, static_cast<std::uint64_t>(project.Core().AlivePointCount()));
    }
}

TEST(PointChunks, AreTheSameWhereAllSizesAreCutAtOnce) {
    const test::ScratchFolder folder;
    Opened project(WritePoints(folder, Patches(4)));
    const auto all = CutIntoChunksOfAllSizes(project.Core());
    ASSERT_TRUE(all);
    ASSERT_EQ(all->size(), CellFrame::kSizes.size());
    for (std::size_t step = 0; step < all->size(); ++step) {
        SCOPED_TRACE(step);
        const auto alone = CutIntoChunks(project.Core(), CellFrame(step));
        ASSERT_TRUE(alone);
        const PointChunks& its = (*all)[step];
        EXPECT_EQ(its.frame.Size(), alone->frame.Size());
        EXPECT_EQ(its.points, alone->points);
        ASSERT_EQ(its.chunks.size(), alone->chunks.size());
        for (std::size_t i = 0; i < its.chunks.size(); ++i) {
            EXPECT_EQ(its.chunks[i].first, alone->chunks[i].first);
            EXPECT_EQ(its.chunks[i].tile, alone->chunks[i].tile);
        }
        ASSERT_EQ(its.tiles.size(), alone->tiles.size());
        for (std::size_t i = 0; i < its.tiles.size(); ++i)
            EXPECT_EQ(its.tiles[i].chunks, alone->tiles[i].chunks);
    }
}

TEST(CloudEstimate, OfTypicalCellsIsThatOfTheirSizeAlone) {
    const test::ScratchFolder folder;
    const parallel::Pool pool(1, {}, "cancelled");
    for (const double spacing : {0.02, 0.15, 0.4, 1.3}) {
        SCOPED_TRACE(spacing);
        std::vector<SimplePointT<double>> points;
        std::mt19937 random(5);
        std::normal_distribution<double> noise(0, 0.002);
        for (int i = 0; i < 120; ++i)
            for (int k = 0; k < 120; ++k)
                points.push_back({i * spacing, k * spacing, 0.35 + noise(random)});
        Opened project(WritePoints(folder, points));
        const auto typical = EstimateTypicalCells(project.Core(), pool);
        ASSERT_TRUE(typical);
        // Cells of two points and more.
        EXPECT_GE(typical->cut.frame.Size(), 1.2 * spacing);
        EXPECT_LE(typical->cut.frame.Size(), 20 * spacing);
        EXPECT_EQ(typical->cut.frame.Size(), CellFrame::kSizes[typical->step]);
        const auto again = EstimateCloud(project.Core(), typical->cut, pool);
        ASSERT_TRUE(again);
        EXPECT_EQ(typical->estimate.noise, again->noise);
        EXPECT_EQ(typical->estimate.spacing, again->spacing);
        EXPECT_EQ(typical->estimate.extent, again->extent);
    }
}

TEST(CloudEstimate, OfASmallCloudIsThatOfAllItsPoints) {
    const test::ScratchFolder folder;
    const parallel::Pool pool(1, {}, "cancelled");
    std::vector<SimplePointT<double>> points;
    std::mt19937 random(6);
    std::normal_distribution<double> noise(0, 1);
    // A smooth board, dense and stored first, and a rough floor of four times its area.
    for (int i = 0; i < 100; ++i)
        for (int k = 0; k < 100; ++k)
            points.push_back({0.01 * i, 0.01 * k, 0.35 + 0.0002 * noise(random)});
    for (int i = 0; i < 100; ++i)
        for (int k = 0; k < 200; ++k)
            points.push_back({2 + 0.02 * i, 0.01 * k, 0.35 + 0.004 * noise(random)});
    Opened project(WritePoints(folder, points));
    const auto found = EstimateTypicalCells(project.Core(), pool);
    ASSERT_TRUE(found);
    EXPECT_NEAR(found->estimate.noise, 0.004, 0.0005);
}

}  // namespace
}  // namespace orvix::detection
