// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/growth/cell_map.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <random>
#include <set>

#include "detection/regions/near_regions.h"
#include "detection/regions/plane_choices.h"

namespace orvix::detection {
namespace {

constexpr std::int32_t kKinds = 6;  // of regions: four of cells, then two of small ones
constexpr std::int32_t kFirstSmall = 4;
constexpr std::int32_t kRegions = 25 * kKinds;  // of each tile; the same numbers are one region
constexpr double kSize = 0.1;                   // of a cell

/// Where in a cell points lie, in 256ths of its side, both ends included.
struct Parts {
    std::array<std::int32_t, 3> low{}, high{};
};

/// One cell as it was put.
struct Known {
    std::int32_t region = kNoRegion;
    std::int32_t points = 1;
    Parts parts;
    std::map<std::int32_t, Parts> small;
};

/// The squared gap between two boxes, in cells.
double SquaredGapOf(const CellPlace& a, const Parts& inA, const CellPlace& b, const Parts& inB) {
    double sum = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double lowA = a[axis] + inA.low[axis] / 256.0;
        const double highA = a[axis] + (inA.high[axis] + 1) / 256.0;
        const double lowB = b[axis] + inB.low[axis] / 256.0;
        const double highB = b[axis] + (inB.high[axis] + 1) / 256.0;
        const double gap = std::max({0.0, lowB - highA, lowA - highB});
        sum += gap * gap;
    }
    return sum;
}

/// Cells at random in eight tiles around the origin, close to where these meet, each in a region or
/// in none, and some of them passed by small regions.
class CellMapModel : public testing::TestWithParam<std::uint32_t> {
protected:
    static constexpr std::int32_t kReach = 6;  // cells from the origin

    void SetUp() override {
        random_.seed(GetParam());
        std::map<CellPlace, CellSums> tiles;
        for (int i = 0; i < 500; ++i) {
            const CellPlace at{Any(-kReach, kReach - 1), Any(-kReach, kReach - 1),
                               Any(-kReach, kReach - 1)};
            if (oracle_.count(at) != 0) continue;
            const CellPlace tile{at[0] < 0 ? -1 : 0, at[1] < 0 ? -1 : 0, at[2] < 0 ? -1 : 0};
            Add(at, frame_.OriginOf(tile), tiles[tile]);
        }
        std::vector<CellPlace> places;
        for (const auto& [tile, sums] : tiles) places.push_back(tile);
        map_ = CellMap(frame_, places);
        std::size_t next = 0;
        for (auto& [tile, sums] : tiles) Put(next++, frame_.OriginOf(tile), sums);
        map_.Number(std::vector<std::uint32_t>(places.size(), kRegions));
        std::vector<std::int32_t> numbers;
        for (std::size_t i = 0; i < places.size() * kRegions; ++i)
            numbers.push_back(static_cast<std::int32_t>(i) % kRegions);
        map_.Renumber(numbers);
    }
    std::int32_t Any(std::int32_t low, std::int32_t high) {
        return std::uniform_int_distribution<std::int32_t>(low, high)(random_);
    }
    std::int32_t AnyRegion(std::int32_t firstKind, std::int32_t lastKind) {
        return Any(firstKind, lastKind) + kKinds * Any(0, kRegions / kKinds - 1);
    }
    Parts AnyParts() {
        Parts parts;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            parts.low[axis] = Any(0, 255);
            parts.high[axis] = Any(parts.low[axis], 255);
        }
        return parts;
    }
    // From the tile's middle: in the middle of the parts, so that no rounding decides.
    static CellBox BoxOf(const Parts& parts, const Vector& corner) {
        const auto at = [&](const std::array<std::int32_t, 3>& p) {
            return corner + Vector{p[0] + 0.5, p[1] + 0.5, p[2] + 0.5} * (kSize / 256);
        };
        CellBox box;
        box.Add(at(parts.low));
        box.Add(at(parts.high));
        return box;
    }
    void Add(const CellPlace& at, const CellPlace& origin, CellSums& sums) {
        Known& known = oracle_[at];
        known.region = Any(0, 4) == 0 ? kNoRegion : AnyRegion(0, kFirstSmall - 1);
        known.points = Any(1, 2) == 1 ? Any(1, 30) : Any(31, 700);
        known.parts = AnyParts();
        if (Any(0, 3) == 0) known.small[AnyRegion(kFirstSmall, kKinds - 1)] = AnyParts();
        if (Any(0, 7) == 0) known.small[AnyRegion(kFirstSmall, kKinds - 1)] = AnyParts();
        const Vector corner = Vector{kSize * at[0], kSize * at[1], kSize * at[2]} -
                              TileCells::MiddleOf(frame_, origin);
        sums.keys.push_back(KeyOf(at, origin));
        sums.sums.emplace_back();
        sums.sums.back().count = known.points;
        sums.boxes.push_back(BoxOf(known.parts, corner));
    }
    void Put(std::size_t number, const CellPlace& origin, CellSums& sums) {
        TileCells cells(frame_, origin, {&sums, 1});
        ASSERT_TRUE(cells.Check());
        cells.Link();
        std::vector<std::int32_t> regions;
        std::vector<SmallPart> small;
        for (std::uint32_t i = 0; i < cells.Size(); ++i) {
            const Known& known = oracle_.at(PlaceOf(cells.Key(i), origin));
            regions.push_back(known.region);
            const Vector corner = cells.CornerOf(i);
            for (const auto& [region, parts] : known.small)
                small.push_back({i, region, {BoxOf(parts, corner), corner, kSize}});
        }
        map_.Put(number, cells, std::vector<CellShape>(cells.Size()), regions, cells.TakeNumbers(),
                 std::move(small));
    }
    static std::int32_t Apart(const CellPlace& a, const CellPlace& b) {
        return std::max({std::abs(a[0] - b[0]), std::abs(a[1] - b[1]), std::abs(a[2] - b[2])});
    }

    CellFrame frame_{0};
    std::mt19937 random_;
    std::map<CellPlace, Known> oracle_;
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
                EXPECT_EQ(map_.IsOccupied({x, y, z}), tile != map_.Tiles());
                if (tile == map_.Tiles()) continue;
                EXPECT_EQ(map_.RegionOf(tile, cell), expected->second.region);
                EXPECT_EQ(map_.PlaceOf(tile, cell), (CellPlace{x, y, z}));
                column.push_back(z);
            }
            std::size_t met = 0;
            map_.ForColumn(x, y, -kReach - 1, kReach, [&](CellSummary) { return ++met > 0; });
            EXPECT_EQ(met, column.size());
        }
    }
}

TEST_P(CellMapModel, HoldsWhereInEachCellItsPointsAndThoseOfSmallRegionsLie) {
    const auto expectSame = [](const InnerBox& box, const Parts& parts) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            EXPECT_EQ(box.low[axis], parts.low[axis]);
            EXPECT_EQ(box.high[axis], parts.high[axis]);
        }
    };
    for (const auto& [place, known] : oracle_) {
        std::uint32_t cell = 0;
        const std::size_t tile = map_.Find(place, cell);
        expectSame(map_.BoxOf(tile, cell), known.parts);
        const auto small = map_.SmallOf(tile, cell);
        ASSERT_EQ(small.size(), known.small.size());
        std::size_t i = 0;
        for (const auto& [region, parts] : known.small) {
            EXPECT_EQ(small[i].region, region);
            expectSame(small[i++].box, parts);
        }
    }
}

TEST_P(CellMapModel, ForgetsTheSmallRegionsThatAreDropped) {
    std::vector<std::int32_t> numbers;
    for (std::int32_t i = 0; i < kRegions; ++i) numbers.push_back(i % 2 == 0 ? kNoRegion : i / 2);
    map_.Renumber(numbers);
    for (const auto& [place, known] : oracle_) {
        std::vector<std::int32_t> expected, met;
        for (const auto& [region, parts] : known.small)
            if (region % 2 != 0) expected.push_back(region / 2);
        std::uint32_t cell = 0;
        const std::size_t tile = map_.Find(place, cell);
        for (const SmallPart& part : map_.SmallOf(tile, cell)) met.push_back(part.region);
        EXPECT_EQ(met, expected);
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
            for (const auto& [p, known] : oracle_) {
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

/// A plane of each kind: 0 and 1 are one, seen from both sides; 4 leans by 5 degrees and crosses
/// them in the plane x = 0, so it is one with them in the cells beside that; the rest are others
/// everywhere.
std::vector<Region> CrossingPlanes() {
    std::vector<Region> kinds(kKinds), regions;
    kinds[1].plane.normal = {0, 0, -1};
    kinds[2].plane.centre = {0, 0, 0.5};
    kinds[3].plane.normal = {1, 0, 0};
    kinds[4].plane.normal = {-0.0871557, 0, 0.9961947};
    kinds[5].plane.normal = {0, -0.3420201, 0.9396926};
    for (std::size_t i = 0; i < kRegions; ++i) regions.push_back(kinds[i % kKinds]);
    return regions;
}

bool AreOne(std::int32_t a, std::int32_t b, const CellPlace& place) {
    const std::int32_t first = std::min(a % kKinds, b % kKinds);
    const std::int32_t second = std::max(a % kKinds, b % kKinds);
    if (first == second || second == 1) return true;
    return first < 2 && second == 4 && (place[0] == 0 || place[0] == -1);
}

// BEHAVIOUR A1
TEST_P(CellMapModel, ChoosesAmongTheRegionsOfTheCellsBesideButNotOnesOwnSurfacesOther) {
    const auto choices = PlaneChoices::Of(map_, CrossingPlanes(), 0.01, parallel::Pool(2, {}, ""));
    ASSERT_TRUE(choices);
    for (const auto& [place, known] : oracle_) {
        std::set<std::int32_t> expected;
        for (const auto& [other, its] : oracle_)
            if (its.region != kNoRegion && Apart(place, other) <= 1) expected.insert(its.region);
        for (const auto& [region, parts] : known.small) expected.insert(region);
        if (known.region != kNoRegion)
            std::erase_if(expected, [&, own = known.region, at = place](std::int32_t other) {
                return other != own && AreOne(other, own, at);
            });
        std::uint32_t cell = 0;
        const std::size_t tile = map_.Find(place, cell);
        const auto chosen = choices->At(tile, cell);
        EXPECT_TRUE(std::equal(chosen.begin(), chosen.end(), expected.begin(), expected.end()));
    }
}

/// Two regions in two cells, as one of all the pairs that a model knows.
struct Member {
    std::int32_t region = 0;
    CellPlace place{};
    Parts parts;
    std::int32_t points = 0;
};

// BEHAVIOUR A5
TEST_P(CellMapModel, FindsRegionsByTheGapBetweenTheirPointsAcrossTilesToo) {
    std::vector<Member> members;
    for (const auto& [place, known] : oracle_) {
        const std::int32_t points = std::min(known.points, 511);
        if (known.region != kNoRegion)
            members.push_back({known.region, place, known.parts, points});
        for (const auto& [region, parts] : known.small)
            members.push_back({region, place, parts, points});
    }
    const Region small = [] {
        Region region;
        region.small = true;  // no wall parts these
        return region;
    }();
    const auto mayJoin = [](const RegionPair& pair) { return pair.second % 7 != 3; };
    const auto regionOf = [&](std::int32_t) -> const Region& { return small; };
    for (const double bridge : {0.0, 0.021, 0.1, 0.233, 0.4}) {
        std::map<RegionPair, bool> met, expected;
        for (std::size_t tile = 0; tile < map_.Tiles(); ++tile)
            for (const NearPair& m : NearPairsIn(map_, tile, {bridge, mayJoin, regionOf}))
                met[m.pair] = met[m.pair] || m.touch;
        for (const Member& a : members) {
            for (const Member& b : members) {
                if (a.region >= b.region || !mayJoin({a.region, b.region})) continue;
                const double squaredGap = SquaredGapOf(a.place, a.parts, b.place, b.parts);
                const double few = std::max(a.points, b.points);
                const bool touch =
                    Apart(a.place, b.place) <= 1 && squaredGap <= std::max(0.25, 6.25 / few);
                if (squaredGap <= bridge * bridge / (kSize * kSize)) expected[{a.region, b.region}];
                if (touch) expected[{a.region, b.region}] = true;
            }
        }
        EXPECT_EQ(met, expected) << bridge;
        EXPECT_LT(expected.size(), kRegions * kRegions / 3U);  // some pairs stay apart
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, CellMapModel, testing::Range(0U, 8U));

}  // namespace
}  // namespace orvix::detection
