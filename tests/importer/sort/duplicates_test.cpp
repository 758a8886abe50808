// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/sort/duplicates.h"

#include <gtest/gtest.h>

#include <random>
#include <set>

namespace orvix::importer::test {
namespace {

TEST(Duplicates, AreFoundInACellOfAnySizeWithRoomForFewPositions) {
    for (const std::uint32_t different : {1u, 3u, 50u, 100'000u}) {
        std::mt19937 random(different);
        std::vector<AlivePoint> points(70'000);
        std::vector<bool> expected;
        std::set<float> met;
        for (AlivePoint& point : points) {
            point.x = static_cast<float>(random() % different);
            expected.push_back(!met.insert(point.x).second);
        }
        int readings = 0;
        const CellReader reader = [&](std::uint64_t first,
                                      std::size_t count) -> Expected<std::span<const AlivePoint>> {
            readings += first == 0;
            return std::span<const AlivePoint>(points).subspan(first, count);
        };
        const std::size_t capacity = std::max<std::size_t>(20, met.size() / 3);
        const auto found = FindDuplicates(reader, points.size(), capacity, [] { return false; });
        ASSERT_TRUE(found);
        EXPECT_EQ(*found, expected);
        EXPECT_LE(readings, static_cast<int>(met.size() / capacity) + 1);
    }
}

// BEHAVIOUR I13
TEST(Duplicates, TakeBothZerosForOne) {
    std::vector<AlivePoint> points{{0.0f, 1, 1}, {-0.0f, 1, 1}};
    std::vector<CellCount> cells{{kFirstKey, 2}};
    EXPECT_EQ(RemoveDuplicates(points, cells).points, 1u);
    points.assign(40, {-0.0f, 0.0f, 0.0f});
    points[7] = {0.0f, -0.0f, 0.0f};
    cells = {{kFirstKey, 40}};
    EXPECT_EQ(RemoveDuplicates(points, cells).points, 39u);
    EXPECT_EQ(cells[0].count, 1u);
}

}  // namespace
}  // namespace orvix::importer::test
