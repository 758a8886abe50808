// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/sort/block_sorter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>

#include "orvix/geometry/bounds.h"

namespace orvix::importer::test {
namespace {

ExtendsT<float> BoundsOf(const std::vector<AlivePoint>& points) {
    ExtendsT<float> bounds{{points[0].x, points[0].y, points[0].z},
                           {points[0].x, points[0].y, points[0].z}};
    for (const AlivePoint& p : points) {
        detail::Extend(bounds, p);
    }
    return bounds;
}

class BlockSorterModel : public testing::TestWithParam<int> {};

TEST_P(BlockSorterModel, SortsLikeStableSortAndCountsTheCells) {
    std::mt19937 random(static_cast<unsigned>(GetParam()));
    SCOPED_TRACE(testing::Message() << "seed " << GetParam());
    // From one cell to the widest box there is, which no single number can order.
    const float extent = std::vector<float>{0.05f, 3, 40, 5000, 9.9e6f}[GetParam() % 5];
    std::uniform_real_distribution<float> coordinate(-extent, extent);
    std::vector<AlivePoint> points(1 + random() % 3000);
    for (std::size_t i = 0; i < points.size(); ++i) {
        points[i] = {coordinate(random), coordinate(random), coordinate(random)};
        std::memcpy(points[i].attributes.data(), &i, sizeof i);
        if (random() % 3 == 0) points[i].x = points[0].x;
    }
    const GridFrame frame(BoundsOf(points));
    std::vector<AlivePoint> sorted(points.size());
    std::vector<CellCount> cells;
    BlockSorter sorter;
    sorter.Sort(frame, points, sorted.data(), &cells);
    const auto placeOf = [](const AlivePoint& p) {
        std::array<std::array<std::int32_t, 3>, 3> place{};
        const std::array<float, 3> v{p.x, p.y, p.z};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const detail::AxisCell cell = detail::CellOf(v[axis]);
            place[0][axis] = cell.cell1000;
            place[1][axis] = cell.cell100;
            place[2][axis] = cell.cell10;
        }
        return place;
    };
    std::stable_sort(points.begin(), points.end(), [&](const AlivePoint& a, const AlivePoint& b) {
        return placeOf(a) < placeOf(b);
    });
    ASSERT_EQ(std::memcmp(points.data(), sorted.data(), points.size() * sizeof(AlivePoint)), 0);
    std::size_t next = 0;
    for (const CellCount& cell : cells) {
        ASSERT_GT(cell.count, 0u);
        const CellPosition position = frame.PositionOf(cell.key);
        for (std::uint32_t i = 0; i < cell.count; ++i, ++next) {
            const auto place = placeOf(points.at(next));
            ASSERT_EQ(place[1], position.cell100);
            for (std::size_t axis = 0; axis < 3; ++axis) {
                ASSERT_EQ(place[2][axis], position.cell10[axis]);
            }
        }
    }
    EXPECT_EQ(next, points.size());
}

INSTANTIATE_TEST_SUITE_P(Seeds, BlockSorterModel, testing::Range(0, 64));

// Coordinates on and beside every boundary there is: metres, tens of metres, tenths.
TEST(GridFrame, NumbersManyPointsAsItNumbersOne) {
    std::mt19937 random(7);
    std::vector<float> ends{-9.9e6f, -8'388'609, -1e-30f, -0.0f, 0, 1e-30f, 8'388'609, 9.9e6f};
    for (const int metre : {-1'000'000, -30, -11, -10, -9, -1, 0, 1, 9, 10, 11, 30, 1'000'000}) {
        for (int tenth = 0; tenth < 10; ++tenth) {
            const float at = static_cast<float>(metre) + static_cast<float>(tenth) / 10;
            ends.insert(ends.end(), {at, std::nextafter(at, -1e9f), std::nextafter(at, 1e9f)});
        }
    }
    for (const float extent : {0.05f, 35.0f, 5000.0f, 1.2e6f, 9.9e6f}) {
        std::vector<AlivePoint> points(1000 + random() % 1000);
        std::uniform_real_distribution<float> coordinate(-extent, extent);
        const auto draw = [&] {
            const float end = ends[random() % ends.size()];
            return random() % 2 == 0 && std::fabs(end) <= extent ? end : coordinate(random);
        };
        for (AlivePoint& point : points) point = {draw(), draw(), draw()};
        // A box that is so wide along two axes has no numbers.
        for (AlivePoint& point : points) {
            if (extent > 1e6f) point.y = std::fmod(point.y, 9e5f);
            if (extent > 1e6f) point.z = std::fmod(point.z, 35.0f);
        }
        const GridFrame frame(BoundsOf(points));
        ASSERT_TRUE(frame.HasNumbers()) << extent;
        std::vector<std::uint64_t> numbers(points.size());
        frame.NumbersOf(points, numbers.data());
        for (std::size_t i = 0; i < points.size(); ++i) {
            const SortKey key = frame.KeyOf(points[i]);
            ASSERT_EQ(numbers[i], key.block * kInsideKeys + key.inside)
                << points[i].x << " " << points[i].y << " " << points[i].z;
        }
    }
    EXPECT_FALSE(GridFrame({{-9.9e6f, -9.9e6f, 0}, {9.9e6f, 9.9e6f, 99}}).HasNumbers());
}

}  // namespace
}  // namespace orvix::importer::test
