// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/points/nearest_neighbour.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

namespace orvix {
namespace {

using Points = std::vector<SimplePointT<float>>;
using Query = SimplePointT<double>;

double SquaredDistance(const SimplePointT<float>& point, const Query& query) {
    const double dx = query.x - point.x;
    const double dy = query.y - point.y;
    const double dz = query.z - point.z;
    return dx * dx + dy * dy + dz * dz;
}

/// Every point by ascending distance, then index.
std::vector<std::pair<double, int>> Ranked(const Points& points, const Query& query) {
    std::vector<std::pair<double, int>> ranked;
    for (std::size_t i = 0; i < points.size(); ++i) {
        ranked.emplace_back(SquaredDistance(points[i], query), static_cast<int>(i));
    }
    std::sort(ranked.begin(), ranked.end());
    return ranked;
}

std::vector<int> Within(const std::vector<std::pair<double, int>>& ranked, double bound) {
    std::vector<int> indices;
    for (const auto& [distance, index] : ranked) {
        if (distance <= bound) indices.push_back(index);
    }
    return indices;
}

std::vector<int> Find(CNearestNeighbour& index, const Query& query, double radius) {
    int count = -1;
    const int* found = index.Find(&query, radius, count);
    return {found, found + count};
}

/// Points of a kind that depends on the seed: a lattice (ties everywhere), a cloud, a line far from
/// the origin, one position many times, places of every size that a number has, and a cloud with a
/// few points very far away.
Points Scene(std::uint32_t seed, std::mt19937& random) {
    Points points(1 + random() % 700);
    std::uniform_real_distribution<float> unit(-1, 1);
    for (auto& p : points) {
        switch (seed % 6) {
            case 0:
                p = {float(random() % 7), float(random() % 7), float(random() % 7)};
                break;
            case 1:
                p = {unit(random), unit(random), unit(random) * 1e-3f};
                break;
            case 2:
                p = {10'000 + unit(random), -20'000, 0.1f};
                break;
            case 3:
                p = {0.3f, 0.1f, 0.7f};
                break;
            case 4:
                p = {std::ldexp(unit(random) < 0 ? -1.0f : 1.0f, int(random() % 277) - 149), 0.5f,
                     random() % 2 == 0 ? 0.0f : -0.0f};
                break;
            default:
                p = {unit(random), unit(random), random() % 100 == 0 ? 3e38f : unit(random)};
                break;
        }
    }
    return points;
}

class NearestNeighbourOracle : public testing::TestWithParam<std::uint32_t> {};

// BEHAVIOUR N1, N2
TEST_P(NearestNeighbourOracle, AgreesWithBruteForceOnRadiusNearestAndTies) {
    SCOPED_TRACE(testing::Message() << "seed " << GetParam());
    std::mt19937 random(GetParam());
    const Points points = Scene(GetParam(), random);
    CNearestNeighbour index(&points);
    for (int i = 0; i < 60; ++i) {
        const auto& base = points[random() % points.size()];
        const double shift = i % 3 == 0 ? 0.0 : i % 3 == 1 ? 0.5 : 0.123456789;
        const Query query{base.x + shift, base.y - shift, base.z + (i % 2) * shift};
        const auto ranked = Ranked(points, query);
        // A bound that is exactly some point's distance, and the doubles on either side of it.
        const double exact = ranked[random() % ranked.size()].first;
        for (const double bound : {exact, std::nextafter(exact, 0.0), std::nextafter(exact, 1e9),
                                   0.0, 1e300, std::numeric_limits<double>::infinity()}) {
            ASSERT_EQ(Find(index, query, bound), Within(ranked, bound)) << "bound " << bound;
        }
        ASSERT_EQ(Find(index, query, -1e-300), std::vector<int>{ranked[0].second});
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, NearestNeighbourOracle, testing::Range(0u, 40u));

TEST(NearestNeighbour, StopsBeingBuiltAtWhicheverQuestionIsAnsweredWithNo) {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> unit(-1, 1);
    Points points(600'000);
    for (auto& p : points) p = {unit(random), unit(random), unit(random)};
    const auto built = [&points](int last, int& asked) {
        asked = 0;
        return CNearestNeighbour::Make(points, [&] { return ++asked != last; }) != nullptr;
    };
    int all = 0;
    ASSERT_TRUE(built(0, all));
    EXPECT_GT(all, 20);  // while points are taken, divided and laid side by side
    for (const int last : {1, 2, 3, all / 2, all - 1, all}) {
        int asked = 0;
        EXPECT_FALSE(built(last, asked)) << "question " << last << " of " << all;
        EXPECT_EQ(asked, last);
    }
}

// BEHAVIOUR N3
TEST(NearestNeighbour, KeepsThePreviousArrayWhenNothingIsFound) {
    const Points points = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    CNearestNeighbour index(&points);
    const Query far{9, 9, 9}, near{1, 0, 0};
    int count = -1;
    EXPECT_EQ(index.Find(&far, 1.0, count), nullptr);
    EXPECT_EQ(count, 0);
    int* found = index.Find(&near, 1.0, count);
    ASSERT_EQ(count, 2);
    EXPECT_EQ(index.Find(&far, 1.0, count), found);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(found[0], 1);
    EXPECT_EQ(found[1], 0);
}

TEST(NearestNeighbour, TakesItsCoordinatesFromEveryContainer) {
    std::map<std::pair<int, int>, std::pair<int, double>> map = {
        {{5, 1}, {0, 0.0}}, {{-2, 3}, {9, 9.0}}, {{-2, -3}, {7, 7.0}}};
    CNearestNeighbour ofMap(map);
    const Query query{-2, 2, 1e6};  // 2D indexes ignore z
    EXPECT_EQ(Find(ofMap, query, 1.0), std::vector<int>{1});
    EXPECT_EQ(Find(ofMap, query, 25.0), (std::vector<int>{1, 0}));

    const std::vector<std::pair<int, int>> pairs = {{5, 1}, {-2, 3}};
    CNearestNeighbour ofPairs(pairs);
    EXPECT_EQ(Find(ofPairs, query, -1.0), std::vector<int>{1});
    const std::vector<CPoint> raster = {{5, 1}, {-2, 1}, {-2, 3}};
    CNearestNeighbour ofRaster(raster);
    EXPECT_EQ(Find(ofRaster, query, 1.0), (std::vector<int>{1, 2}));

    const Points points = {{5, 1, 0}, {-2, 2, 7}};
    const std::vector<const SimplePointT<float>*> pointers = {&points[1], &points[0]};
    CNearestNeighbour ofPointers(&pointers);
    EXPECT_EQ(Find(ofPointers, {-2, 2, 7}, 0.0), std::vector<int>{0});
}

TEST(NearestNeighbour, SortsAResultOfThousandsWithTies) {
    std::mt19937 random(1);
    Points points(20'000);
    for (auto& p : points) p = {float(random() % 40), float(random() % 40), float(random() % 40)};
    CNearestNeighbour index(&points);
    const Query query{20, 20, 20};
    const auto ranked = Ranked(points, query);
    for (const double bound : {25.0, 60.0, 64.0, 400.0, 1e6}) {
        EXPECT_EQ(Find(index, query, bound), Within(ranked, bound)) << "bound " << bound;
    }
}

TEST(NearestNeighbour, SortsThousandsAtAnyBoundFromAnywhere) {
    std::mt19937 random(5);
    std::uniform_real_distribution<float> unit(-1, 1);
    Points points(6000);
    for (std::size_t i = 0; i < points.size(); ++i) {
        const float y =
            i < 2000 ? 0.25f : unit(random);  // a line, and in it one position 700 times
        points[i] = {i < 700 ? 0.5f : unit(random), y, i < 2000 ? 0.0f : unit(random)};
    }
    CNearestNeighbour index(&points);
    for (const Query& query : {Query{0, 0, 0}, Query{0.5, 0.25, 0}, Query{3e5, 1, 0},
                               Query{1e-160, 0.25, 0}, Query{-1e150, 2, 2}}) {
        const auto ranked = Ranked(points, query);
        for (const double bound : {0.0, 0.04, 0.9, 12.0, ranked[3000].first, ranked.back().first,
                                   9e10, 1e308, std::numeric_limits<double>::infinity()}) {
            EXPECT_EQ(Find(index, query, bound), Within(ranked, bound))
                << query.x << " bound " << bound;
        }
    }
}

// BEHAVIOUR N4
TEST(NearestNeighbour, FindsNothingNearWhatIsNotFinite) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    const Points points = {{nan, 0, 0}, {1, 1, 1}, {0, inf, 0}, {0, 0, 0}};
    CNearestNeighbour index(&points);
    EXPECT_EQ(Find(index, {0, 0, 0}, 1e9), (std::vector<int>{3, 1}));
    EXPECT_EQ(Find(index, {0, 0, 0}, -1), std::vector<int>{3});
    EXPECT_TRUE(Find(index, {0, nan, 0}, 1e9).empty());
    EXPECT_TRUE(Find(index, {inf, 0, 0}, -1).empty());
    EXPECT_TRUE(Find(index, {0, 0, 0}, nan).empty());

    const Points none;
    CNearestNeighbour empty(&none);
    EXPECT_TRUE(Find(empty, {0, 0, 0}, 1e9).empty());
    EXPECT_TRUE(Find(empty, {0, 0, 0}, -1).empty());
}

TEST(NearestNeighbour, AnswersConstQueriesLikeFind) {
    const Points points = {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}};
    const CNearestNeighbour index(&points);
    std::vector<int> found = {7, 7, 7, 7};
    index.FindWithin({0.9, 0, 0}, 1.0, found);
    EXPECT_EQ(found, (std::vector<int>{1, 0}));
    int nearest = -1;
    ASSERT_TRUE(index.FindNearest({1.5, 0, 0}, nearest));
    EXPECT_EQ(nearest, 1);
}

}  // namespace
}  // namespace orvix
