// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/skeleton/block_thinner.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "importer/sort/block_sorter.h"

namespace orvix::importer::test {
namespace {

struct Stretch {
    std::vector<AlivePoint> points;
    std::vector<CellCount> cells;
};

// Few positions, on a lattice, so that centroids, ties and equal points are many.
Stretch SortedPoints(unsigned seed, const GridFrame& frame) {
    std::mt19937 random(seed);
    std::vector<AlivePoint> points(1 + random() % 4000);
    const unsigned steps = seed % 2 == 0 ? 300 : 7;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const auto draw = [&] { return static_cast<float>(random() % steps) * 0.0078125f - 1; };
        points[i] = {draw(), draw(), draw()};
        std::memcpy(points[i].attributes.data(), &i, sizeof i);
    }
    Stretch stretch;
    stretch.points.resize(points.size());
    BlockSorter().Sort(frame, points, stretch.points.data(), &stretch.cells);
    return stretch;
}

// What the thinner of single voxels chooses, cell by cell.
ThinnedPoints ThinnedByVoxels(const Stretch& stretch, const GridFrame& frame, SkeletonSize size) {
    ThinnedPoints thinned;
    VoxelThinner thinner(size);
    std::span<const AlivePoint> left = stretch.points;
    for (const CellCount& cell : stretch.cells) {
        std::vector<AlivePoint> chosen;
        thinner.Add(left.first(cell.count));
        thinner.Choose(left.first(cell.count));
        thinner.Finish(chosen);
        thinned.Open(frame.PositionOf(cell.key).cell100);
        thinned.Add(cell.count, chosen);
        left = left.subspan(cell.count);
    }
    return thinned;
}

template <class Record>
bool AreSame(const std::vector<Record>& a, const std::vector<Record>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(Record)) == 0;
}

class BlockThinnerModel : public testing::TestWithParam<unsigned> {};

TEST_P(BlockThinnerModel, ChoosesWhatTheThinnerOfVoxelsDoes) {
    const GridFrame frame({{-1, -1, -1}, {2, 2, 2}});
    const Stretch stretch = SortedPoints(GetParam(), frame);
    for (const SkeletonSize size : {SkeletonSize::TenCentimetres, SkeletonSize::OneCentimetre}) {
        BlockThinner thinner(size);
        thinner.Thin(frame, stretch.points, stretch.cells);
        const ThinnedPoints expected = ThinnedByVoxels(stretch, frame, size);
        EXPECT_TRUE(AreSame(thinner.thinned.coordinates, expected.coordinates));
        EXPECT_TRUE(AreSame(thinner.thinned.data, expected.data));
        ASSERT_EQ(thinner.thinned.cells.size(), expected.cells.size());
        std::uint64_t alive = 0;
        for (std::size_t i = 0; i < expected.cells.size(); ++i) {
            const ThinnedCell& cell = thinner.thinned.cells[i];
            EXPECT_EQ(cell.cell, expected.cells[i].cell);
            EXPECT_EQ(cell.points, expected.cells[i].points);
            alive += cell.alive;
        }
        EXPECT_EQ(alive, stretch.points.size());
        std::uint64_t counted = 0;
        for (const auto& [bin, count] : thinner.histograms.All().heights) counted += count;
        EXPECT_EQ(counted, stretch.points.size());
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, BlockThinnerModel, testing::Range(0u, 24u));

}  // namespace
}  // namespace orvix::importer::test
