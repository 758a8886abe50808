// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/regions/cell_map.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>

#include "detection/regions/near_regions.h"
#include "detection/regions/plane_choices.h"

namespace orvix::detection {
namespace {

/// Cells at random in eight tiles around the origin, close to where these meet, each in one of four
/// regions or in none.
class CellMapModel : public testing::TestWithParam<std::uint32_t> {
protected:
    static constexpr std::int32_t kReach = 6;  // cells from the origin

    void SetUp() override {
        std::mt19937 random(GetParam());
        std::uniform_int_distribution<std::int32_t> place(-kReach, kReach - 1), region(-1, 3);
        std::map<CellPlace, CellSums> tiles;
        for (int i = 0; i < 500; ++i) {
            const CellPlace at{place(random), place(random), place(random)};
            if (!oracle_.emplace(at, region(random)).second) continue;
            const CellPlace tile{at[0] < 0 ? -1 : 0, at[1] < 0 ? -1 : 0, at[2] < 0 ? -1 : 0};
            CellSums& sums = tiles[tile];
            sums.keys.push_back(KeyOf(at, frame_.OriginOf(tile)));
            sums.sums.emplace_back();
            sums.sums.back().Add(Vector{});
        }
        std::vector<CellPlace> places;
        for (const auto& [tile, sums] : tiles) places.push_back(tile);
        map_ = CellMap(frame_, places);
        std::size_t next = 0;
        for (auto& [tile, sums] : tiles) Put(next++, frame_.OriginOf(tile), sums);
        map_.Number(std::vector<std::size_t>(places.size(), 4));
        std::vector<std::int32_t> numbers;
        for (std::size_t i = 0; i < places.size() * 4; ++i) numbers.push_back(i % 4);
        map_.Renumber(numbers);
    }
    void Put(std::size_t number, const CellPlace& origin, CellSums& sums) {
        TileCells cells(frame_, origin, {&sums, 1});
        ASSERT_TRUE(cells.Check());
        cells.Link();
        std::vector<std::int32_t> regions;
        for (std::uint32_t i = 0; i < cells.Size(); ++i)
            regions.push_back(oracle_.at(PlaceOf(cells.Key(i), origin)));
        map_.Put(number, cells, std::vector<CellShape>(cells.Size()), regions, cells.TakeNumbers());
    }
    [[nodiscard]] std::set<std::int32_t> RegionsAround(const CellPlace& at,
                                                       std::int32_t reach) const {
        std::set<std::int32_t> regions;
        for (const auto& [place, region] : oracle_) {
            bool near = region != kNoRegion;
            for (std::size_t axis = 0; axis < 3; ++axis)
                near &= std::abs(place[axis] - at[axis]) <= reach;
            if (near) regions.insert(region);
        }
        return regions;
    }

    CellFrame frame_{0};
    std::map<CellPlace, std::int32_t> oracle_;  // the region of each cell
    CellMap map_;
};

TEST_P(CellMapModel, FindsEveryCellAndNoOther) {
    std::uint32_t cell = 0;
    for (std::int32_t x = -kReach - 1; x <= kReach; ++x) {
        for (std::int32_t y = -kReach - 1; y <= kReach; ++y) {
            std::vector<std::int32_t> column;
            for (std::int32_t z = -kReach - 1; z <= kReach; ++z) {
                const std::size_t tile = map_.Find({x, y, z}, cell);
                const auto expected = oracle_.find({x, y, z});
                ASSERT_EQ(tile != map_.Tiles(), expected != oracle_.end());
                if (tile == map_.Tiles()) continue;
                EXPECT_EQ(map_.RegionOf(tile, cell), expected->second);
                EXPECT_EQ(map_.PlaceOf(tile, cell), (CellPlace{x, y, z}));
                column.push_back(z);
            }
            std::size_t met = 0;
            map_.ForColumn(x, y, -kReach - 1, kReach, [&](CellSummary) { return ++met > 0; });
            EXPECT_EQ(met, column.size());
        }
    }
}

TEST_P(CellMapModel, GoesThroughTheCellsAroundATile) {
    for (std::size_t tile = 0; tile < map_.Tiles(); ++tile) {
        for (const std::int32_t depth : {0, 1, 3, 101}) {
            std::set<CellPlace> met, expected;
            map_.ForCellsWithin(tile, depth, [&](const CellPlace& p, std::size_t, std::uint32_t) {
                EXPECT_TRUE(met.insert(p).second);
            });
            const CellPlace& low = map_.OriginOf(tile);
            for (const auto& [p, region] : oracle_) {
                bool within = true;
                for (std::size_t axis = 0; axis < 3; ++axis)
                    within &= p[axis] >= low[axis] - depth &&
                              p[axis] < low[axis] + frame_.PerTile(axis) + depth;
                if (within) expected.insert(p);
            }
            EXPECT_EQ(met, expected) << depth;
        }
    }
}

// BEHAVIOUR A1
TEST_P(CellMapModel, ChoosesAmongTheRegionsOfTheCellsBeside) {
    const auto choices = PlaneChoices::Of(map_, parallel::Pool(2, {}, ""));
    ASSERT_TRUE(choices);
    for (const auto& [place, region] : oracle_) {
        std::uint32_t cell = 0;
        const std::size_t tile = map_.Find(place, cell);
        const auto chosen = choices->At(tile, cell);
        const std::set<std::int32_t> expected = RegionsAround(place, 1);
        EXPECT_TRUE(std::equal(chosen.begin(), chosen.end(), expected.begin(), expected.end()));
    }
}

TEST_P(CellMapModel, FindsRegionsThatAreNearAcrossTilesToo) {
    for (const std::int32_t reach : {1, 2, 4}) {
        std::map<RegionPair, bool> met, expected;
        for (std::size_t tile = 0; tile < map_.Tiles(); ++tile)
            for (const NearPair& m :
                 NearPairsIn(map_, tile, reach, [](const RegionPair& p) { return p.second != 3; }))
                met[m.pair] = met[m.pair] || m.touch;
        for (const auto& [place, region] : oracle_) {
            if (region == kNoRegion) continue;
            for (const std::int32_t other : RegionsAround(place, reach))
                if (other > region && other != 3) expected[{region, other}];
            for (const std::int32_t other : RegionsAround(place, 1))
                if (other > region && other != 3) expected[{region, other}] = true;
        }
        EXPECT_EQ(met, expected) << reach;
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, CellMapModel, testing::Range(0U, 4U));

}  // namespace
}  // namespace orvix::detection
