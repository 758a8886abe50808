// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/planes/plane_worm.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <functional>
#include <random>
#include <set>
#include <thread>

namespace orvix {
namespace {

using Points = std::vector<SimplePointT<float>>;
using Relation = PlaneWorm::RelationToBase;
using Ended = PlaneWorm::Ended;
using testing::ElementsAre;

constexpr float kSpacing = 0.05F;

/// Lattice points (u, v) with `inside`, u and v up to `half` from 0, placed by `place`.
Points Sheet(float half, const std::function<bool(float, float)>& inside,
             const std::function<SimplePointT<float>(float, float)>& place) {
    Points points;
    const int steps = static_cast<int>(half / kSpacing);
    for (int i = -steps; i <= steps; ++i) {
        for (int j = -steps; j <= steps; ++j) {
            const float u = kSpacing * static_cast<float>(i), v = kSpacing * static_cast<float>(j);
            if (inside(u, v)) points.push_back(place(u, v));
        }
    }
    return points;
}

bool Everywhere(float, float) {
    return true;
}
SimplePointT<float> OnFloor(float u, float v) {
    return {u, v, 0};
}

Points Floor(float half) {
    return Sheet(half, Everywhere, OnFloor);
}

FittedPlane Level() {
    FittedPlane plane;
    plane.set(0, 0, 1, 0, 0, 0, 0);
    return plane;
}

std::shared_ptr<PlaneWormSettings> Settings(double splitSize = 0.4) {
    auto settings = std::make_shared<PlaneWormSettings>(false, true, ProjectManager(), 1.0);
    settings->ChangeSplitSize(splitSize);
    return settings;
}

/// A worm in a cloud, on the plane z = 0 with its seed at the origin.
PlaneWorm WormIn(const Points& points, std::shared_ptr<PlaneWormSettings> settings = Settings()) {
    PlaneWorm worm(std::move(settings));
    auto shared = std::make_shared<const Points>(points);
    worm.SetBase(Level());
    worm.SetCloud(std::make_shared<CNearestNeighbour>(shared.get()), shared);
    return worm;
}

std::vector<PlaneCell> KeptKeys(const PlaneWorm& worm) {
    std::vector<PlaneCell> keys;
    for (const auto& cell : worm.Cells()) keys.push_back(cell.key);
    return keys;
}

/// What the host's callback saw. It takes no context, so this is where it writes to.
struct Collected {
    std::vector<std::vector<int>> calls;
    std::function<void()> then;
};
Collected* collected = nullptr;

void Collect(int* indices, int count) {
    collected->calls.emplace_back(indices, indices + count);
    if (collected->then) collected->then();
}

struct PlaneWormTest : testing::Test {
    Collected seen;
    PlaneWormTest() { collected = &seen; }
    ~PlaneWormTest() override { collected = nullptr; }

    void Listen(PlaneWorm& worm) { worm.CollectCallback(reinterpret_cast<void*>(&Collect)); }
};

TEST_F(PlaneWormTest, RejectsASeedWithFewerThanFivePointsWithoutACallback) {
    const Points few(4);
    auto worm = WormIn(few);
    Listen(worm);
    worm.Launch(Relation::Visited);
    EXPECT_TRUE(seen.calls.empty());
    ASSERT_EQ(worm.RejectedCells().size(), 1u);
    EXPECT_EQ(worm.RejectedCells()[0].why, PlaneWorm::Rejection::FewPoints);
    EXPECT_EQ(worm.HowItEnded(), Ended::Exhausted);
}

// BEHAVIOUR W14
TEST_F(PlaneWormTest, HandsOnTheNearestPointsUpToAMinPlaneAboveTwo) {
    const Points floor = Floor(0.6F);
    for (const auto& [minPlane, expected] : {std::pair{0, 49}, {2, 49}, {10, 10}, {60, 49}}) {
        auto settings = Settings(0.41);
        settings->minPlane = minPlane;
        auto worm = WormIn(floor, settings);
        Listen(worm);
        seen.calls.clear();
        worm.SetStepBudget(1);
        worm.Launch(Relation::Visited);
        ASSERT_EQ(seen.calls.size(), 1u);
        EXPECT_EQ(seen.calls[0].size(), static_cast<std::size_t>(expected)) << minPlane;
        EXPECT_EQ(worm.Cells()[0].indices, seen.calls[0]);
        EXPECT_EQ(floor[static_cast<std::size_t>(seen.calls[0][0])].x, 0.0F);
    }
}

// BEHAVIOUR W9
TEST_F(PlaneWormTest, GrowsInTheOrderThatTheRelationsNumberGivesTheSeed) {
    const Points floor = Floor(3);
    auto worm = WormIn(floor);
    worm.SetStepBudget(9);
    worm.Launch(Relation::Visited);
    EXPECT_THAT(KeptKeys(worm), ElementsAre(PlaneCell{0, 0}, PlaneCell{-1, 0}, PlaneCell{1, 0},
                                            PlaneCell{-1, -1}, PlaneCell{-2, 0}, PlaneCell{-1, 1},
                                            PlaneCell{1, -1}, PlaneCell{1, 1}, PlaneCell{2, 0}));
    EXPECT_EQ(worm.HowItEnded(), Ended::Budget);

    FittedPlane base = Level();
    for (const auto& p : floor) base.AddPoint({p.x, p.y, p.z});
    worm.Clear();
    worm.SetBase(base);
    worm.SetSeed({});
    worm.SetOutlineTest(false, true, false);
    worm.SetStepBudget(3);
    worm.Launch(Relation::Outline);
    EXPECT_THAT(KeptKeys(worm), ElementsAre(PlaneCell{0, 0}, PlaneCell{0, -1}, PlaneCell{0, 1}));

    worm.Clear();
    worm.SetSeed({});
    worm.SetSeedDirection(0);
    worm.SetStepBudget(5);
    worm.Launch(Relation::Visited);
    EXPECT_THAT(KeptKeys(worm), ElementsAre(PlaneCell{0, 0}, PlaneCell{0, -1}, PlaneCell{0, 1},
                                            PlaneCell{-1, 0}, PlaneCell{1, 0}));
}

/// The cells that a flood from the seed's two neighbours along x reaches, each tested by counting
/// points one by one.
std::set<PlaneCell> FloodOracle(const Points& points, double splitSize) {
    const auto holds = [&](const PlaneCell& key) {
        int count = 0;
        for (const auto& p : points) {
            const double dx = p.x - key.x * splitSize / 2, dy = p.y - key.y * splitSize / 2;
            count += dx * dx + dy * dy + double{p.z} * p.z <= splitSize * splitSize / 4 ? 1 : 0;
        }
        return count >= 5;
    };
    std::set<PlaneCell> flood;
    std::set<PlaneCell> tried{{0, 0}};
    if (!holds({})) return flood;
    flood.insert(PlaneCell{});
    std::vector<PlaneCell> pending{{-1, 0}, {1, 0}};
    while (!pending.empty()) {
        const PlaneCell key = pending.back();
        pending.pop_back();
        if (!tried.insert(key).second || !holds(key)) continue;
        flood.insert(key);
        for (const auto& [x, y] : {std::pair{-1, 0}, {1, 0}, {0, -1}, {0, 1}}) {
            pending.push_back({key.x + x, key.y + y});
        }
    }
    return flood;
}

// BEHAVIOUR W5
TEST_F(PlaneWormTest, KeepsExactlyTheCellsThatAFloodReachesWhateverTheShape) {
    const auto lShape = [](float u, float v) { return u < 0.5F || v < -0.5F; };
    const auto door = [](float u, float v) { return std::abs(u - 0.6F) > 0.3F || v > 0.4F; };
    std::vector<Points> shapes{Sheet(1.5F, lShape, OnFloor), Sheet(1.5F, door, OnFloor)};
    for (std::uint32_t seed = 1; seed <= 16; ++seed) {
        std::mt19937 random(seed);
        std::set<std::pair<int, int>> holes;
        for (int i = 0; i < 60; ++i) {
            holes.insert({static_cast<int>(random() % 12), static_cast<int>(random() % 12)});
        }
        const auto outsideHoles = [&](float u, float v) {
            const auto tile = [](float w) { return static_cast<int>(std::floor((w + 1.5F) * 4)); };
            return !holes.contains({tile(u), tile(v)});
        };
        shapes.push_back(Sheet(1.5F, outsideHoles, OnFloor));
    }
    for (std::size_t i = 0; i < shapes.size(); ++i) {
        auto worm = WormIn(shapes[i], Settings(0.31));
        worm.Launch(Relation::Visited);
        const auto keys = KeptKeys(worm);
        const std::set<PlaneCell> kept(keys.begin(), keys.end());
        EXPECT_EQ(kept.size(), keys.size()) << "no cell twice, shape " << i;
        EXPECT_EQ(kept, FloodOracle(shapes[i], 0.31)) << "shape (or random seed + 1) " << i;
        EXPECT_EQ(worm.HowItEnded(), Ended::Exhausted);
    }
}

/// A floor up to x = 1, where a wall rises.
Points Corner() {
    Points points = Sheet(
        2, [](float u, float) { return u < 1.01F; }, OnFloor);
    const Points wall = Sheet(
        2, [](float, float v) { return v > 0; },
        [](float u, float v) {
            return SimplePointT<float>{1.0F, u, v};
        });
    points.insert(points.end(), wall.begin(), wall.end());
    return points;
}

// BEHAVIOUR W7
TEST_F(PlaneWormTest, ShowsTheHostThePointsOfACellBeforeItFailsTheNormalTest) {
    auto settings = Settings();
    settings->diffA = settings->diffC = 0.05;
    auto worm = WormIn(Corner(), settings);
    Listen(worm);
    worm.Launch(Relation::Visited);
    std::size_t byNormal = 0;
    for (const auto& cell : worm.RejectedCells()) {
        byNormal += cell.why == PlaneWorm::Rejection::Normal ? 1u : 0u;
    }
    EXPECT_GT(byNormal, 10u);
    EXPECT_EQ(seen.calls.size(), worm.Cells().size() + byNormal);
    for (const auto& cell : worm.Cells()) {
        EXPECT_GT(cell.normal.z, 0.9) << "turned to the base's side";
        EXPECT_LT(cell.centre.x, 0.99);
    }
}

TEST_F(PlaneWormTest, KeepsFailingCellsAsBorderCellsMovedBackTowardTheirParent) {
    auto settings = Settings();
    settings->diffA = settings->diffC = 0.05;
    for (const std::int32_t kind : {0, 3}) {
        auto worm = WormIn(Corner(), settings);
        worm.KeepBorderCells(true, kind);
        worm.Launch(Relation::Visited);
        int borders = 0;
        for (const auto& cell : worm.Cells()) {
            if (!cell.border) continue;
            ++borders;
            const auto centre = worm.Grid().Centre(cell.key);
            const double moved = std::hypot(cell.centre.x - centre.x, cell.centre.y - centre.y);
            EXPECT_NEAR(moved, kind == 3 ? std::sqrt(0.08) : 0.2, 1e-9);
        }
        EXPECT_GT(borders, 10);
        for (const auto& cell : worm.RejectedCells()) {
            EXPECT_EQ(cell.why, PlaneWorm::Rejection::FewPoints);
        }
    }
}

TEST_F(PlaneWormTest, StaysOnOneTreadOfAStair) {
    const Points stair = Sheet(2, Everywhere, [](float u, float v) {
        return SimplePointT<float>{u, v, 0.17F * std::floor((u + 0.15F) / 0.3F)};
    });
    auto worm = WormIn(stair, Settings(0.2));
    worm.Launch(Relation::Visited);
    EXPECT_GT(worm.Cells().size(), 60u);
    for (const auto& cell : worm.Cells()) EXPECT_LT(std::abs(cell.centre.x), 0.26);
}

// BEHAVIOUR W10
TEST_F(PlaneWormTest, EndsAtTheReachMeasuredFromTheBasesCentroid) {
    auto worm = WormIn(Floor(3));
    FittedPlane base;
    base.set(0, 0, 1, 0, 0.5, 0, 0);
    worm.SetBase(base);
    worm.SetReach(1.0);
    worm.Launch(Relation::Visited);
    EXPECT_EQ(worm.HowItEnded(), Ended::Reach);
    EXPECT_GT(worm.LargestDistance(), 1.0);
    EXPECT_EQ(worm.Seed().x, 0.5);
    double farthest = 0;
    for (const auto& cell : worm.Cells()) {
        farthest = std::max(farthest, std::hypot(cell.centre.x - 0.5, cell.centre.y));
    }
    EXPECT_LE(farthest, 1.0);
    EXPECT_GT(farthest, 0.7);
}

TEST_F(PlaneWormTest, StaysInsideTheBasesOutlineAndEntersNoCellTwice) {
    const auto ring = [](float u, float v) { return std::hypot(u, v) < 1.2F; };
    FittedPlane base;
    for (const auto& p : Sheet(2, ring, OnFloor)) base.AddPoint({p.x, p.y, p.z});
    base.Generate(false);
    base.Generate2DExt();
    auto worm = WormIn(Floor(2));
    worm.SetBase(base);
    worm.Launch(Relation::Outline);
    EXPECT_EQ(worm.HowItEnded(), Ended::Outline);
    const auto keys = KeptKeys(worm);
    EXPECT_EQ(std::set<PlaneCell>(keys.begin(), keys.end()).size(), keys.size());
    EXPECT_GT(keys.size(), 90u);
    for (const auto& cell : worm.Cells()) EXPECT_TRUE(base.IsPointInContour(cell.centre));

    const std::vector<SimplePointT<double>> square{
        {-0.5, -0.5, 0}, {0.5, -0.5, 0}, {0.5, 0.5, 0}, {-0.5, 0.5, 0}};
    base.SetBound3D(&square);
    worm.Clear();
    worm.SetBase(base);
    worm.SetSeed({});
    worm.SetOutlineTest(true, true, false);
    worm.Launch(Relation::Outline);
    EXPECT_EQ(worm.Cells().size(), 25u) << "centres at -0.4 to 0.4; a fixed outline goes first";
}

TEST_F(PlaneWormTest, GoesByTheMarksOfItsOwnRelationWhereAnotherWentBefore) {
    auto worm = WormIn(Floor(2));
    worm.Launch(Relation::Visited);
    const std::size_t kept = worm.Cells().size();
    FittedPlane base = Level();
    for (const auto& p : Floor(1)) base.AddPoint({p.x, p.y, p.z});
    worm.SetBase(base);
    worm.SetSeed({});
    worm.SetOutlineTest(false, true, false);
    worm.Launch(Relation::Outline);
    EXPECT_EQ(worm.Cells().size(), kept + 121) << "centres at -1 to 1, entered by another relation";
    worm.SetSeed({});
    worm.Launch(Relation::Outline);
    EXPECT_EQ(worm.Cells().size(), kept + 121) << "and by this one";
}

// BEHAVIOUR W12
TEST_F(PlaneWormTest, EntersOnlyCellsThatHoldAPointOfTheBasePointList) {
    auto worm = WormIn(Floor(2));
    FittedPlane base = Level();
    for (const auto& p : Floor(2)) base.AddPoint({p.x, p.y, p.z});
    worm.SetBase(base);
    worm.SetOutlineTest(false, true, false);
    worm.SetBasePoints({{0, 0.2, 3.0}, {0, 0.4, 0}, {0.2, 0.4, 0}, {0.2, 0.9, 0}});
    worm.Launch(Relation::Outline);
    EXPECT_THAT(KeptKeys(worm),
                ElementsAre(PlaneCell{0, 0}, PlaneCell{0, 1}, PlaneCell{0, 2}, PlaneCell{1, 2}));
}

TEST_F(PlaneWormTest, CrawlsStraightOnInRelationFreeAndRefitsTheBaseAsItGoes) {
    const auto sloped = [](float u, float v) { return SimplePointT<float>{u, v, 0.02F * u}; };
    auto worm = WormIn(Sheet(2, Everywhere, sloped));
    worm.Launch(Relation::Free);
    EXPECT_EQ(worm.HowItEnded(), Ended::Exhausted);
    for (const auto& cell : worm.Cells()) EXPECT_TRUE(cell.key.x == 0 || cell.key.y == 0);
    EXPECT_NEAR(static_cast<double>(worm.Cells().size()), 41, 2) << "four arms of ten cells";
    EXPECT_NEAR(worm.Base().a() / worm.Base().c(), -0.02, 1e-6);
    EXPECT_NEAR(worm.Base().b() / worm.Base().c(), 0, 1e-6);
}

// BEHAVIOUR W8
TEST_F(PlaneWormTest, ComparesTheSizesOfANormalsComponentsAndNotTheirSigns) {
    // The sheet's normal is (-0.6, 0, 0.8); both planes hold the y axis, along which cells spread.
    const auto leaning = [](float u, float v) { return SimplePointT<float>{u, v, 0.75F * u}; };
    auto worm = WormIn(Sheet(1, Everywhere, leaning));
    FittedPlane base;
    base.set(0.6, 0, 0.8, 0, 0, 0, 0);
    worm.SetBase(base);
    worm.Launch(Relation::Visited);
    EXPECT_GT(worm.Cells().size(), 8u);
    for (const auto& cell : worm.RejectedCells()) {
        EXPECT_EQ(cell.why, PlaneWorm::Rejection::FewPoints);
    }
}

// BEHAVIOUR W13
TEST_F(PlaneWormTest, HasNoNeighboursWhereTheSplitSizeIsNotAboveZero) {
    auto worm = WormIn(Floor(1));
    worm.Launch(Relation::Visited);
    const auto seedsPoints = worm.Cells().front().indices;

    auto negative = WormIn(Floor(1), Settings(-0.4));
    negative.Launch(Relation::Visited);
    EXPECT_THAT(KeptKeys(negative), ElementsAre(PlaneCell{}));
    EXPECT_EQ(negative.Cells().front().indices, seedsPoints);

    auto zero = WormIn(Floor(1), Settings(0));
    zero.Launch(Relation::Visited);
    EXPECT_TRUE(zero.Cells().empty());
    auto five = WormIn(Points(5), Settings(0));
    five.Launch(Relation::Visited);
    EXPECT_THAT(KeptKeys(five), ElementsAre(PlaneCell{}));

    auto none = WormIn(Floor(1), Settings(std::nan("")));
    none.Launch(Relation::Visited);
    EXPECT_EQ(none.Steps(), 0);
}

// BEHAVIOUR W11
TEST_F(PlaneWormTest, StopsBeforeItsNextCellWhenTheFlagIsSet) {
    auto worm = WormIn(Floor(3));
    Listen(worm);
    seen.then = [&] {
        if (seen.calls.size() == 7) worm.Stop();
    };
    worm.Launch(Relation::Visited);
    EXPECT_EQ(seen.calls.size(), 7u);
    EXPECT_EQ(worm.HowItEnded(), Ended::Stopped);

    worm.Clear();
    worm.SetSeed({});
    worm.Launch(Relation::Visited);
    EXPECT_EQ(worm.Steps(), 1) << "a set flag lets the seed through alone";
}

TEST_F(PlaneWormTest, CanBeStoppedFromAnotherThread) {
    auto worm = WormIn(Floor(3));
    Listen(worm);
    std::atomic<bool> started{false};
    seen.then = [&] {
        started = true;
        while (worm.StopFlag() == 0) std::this_thread::yield();
    };
    std::thread other([&] {
        while (!started) std::this_thread::yield();
        worm.Stop();
    });
    worm.Launch(Relation::Visited);
    other.join();
    EXPECT_EQ(seen.calls.size(), 1u);
    EXPECT_EQ(worm.HowItEnded(), Ended::Stopped);
}

// BEHAVIOUR W6
TEST_F(PlaneWormTest, GivesTheSameCellsAgainAfterAClearAndNoneWithoutOne) {
    auto worm = WormIn(Corner());
    worm.Launch(Relation::Visited);
    PlaneWorm copy(worm);
    const auto first = KeptKeys(worm);
    worm.SetSeed({});
    worm.Launch(Relation::Visited);
    EXPECT_EQ(KeptKeys(worm), first) << "the seed's cell is visited already";
    copy.Clear();
    copy.SetSeed({});
    copy.Launch(Relation::Visited);
    EXPECT_EQ(KeptKeys(copy), first);
    EXPECT_EQ(copy.Settings(), worm.Settings());
}

TEST_F(PlaneWormTest, KeepsTheNormalsItHasWherePointsLieOnOneLine) {
    Points line;
    for (int i = -40; i <= 40; ++i) line.push_back({kSpacing * static_cast<float>(i), 0, 0});
    auto worm = WormIn(line);
    worm.Launch(Relation::Visited);
    EXPECT_GT(worm.Cells().size(), 15u);
    for (const auto& cell : worm.Cells()) EXPECT_EQ(cell.normal.z, 1.0);

    worm.Clear();
    FittedPlane tilted;
    tilted.set(0, 0.6, 0.8, 0, 0, 0, 0);
    worm.SetBase(tilted);
    worm.SetSeed({});
    worm.Launch(Relation::Free);
    EXPECT_GT(worm.Cells().size(), 15u);
    EXPECT_EQ(worm.Base().b(), 0.6);
    EXPECT_EQ(worm.Base().c(), 0.8);
}

}  // namespace
}  // namespace orvix
