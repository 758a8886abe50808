// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/growth/speck_neighbours.h"

#include <gtest/gtest.h>
#include <nanoflann.hpp>

#include <cmath>
#include <random>

namespace orvix::detection {
namespace {

using Places = std::vector<SpeckNeighbours::Place>;

constexpr std::size_t kNearest = 12;

/// What nanoflann's own search finds, which is the oracle: ties and rounding are its own.
class Oracle {
public:
    explicit Oracle(const Places& places)
        : places_(places), tree_(3, *this, nanoflann::KDTreeSingleIndexAdaptorParams(12)) {}

    [[nodiscard]] std::vector<std::uint32_t> Of(std::uint32_t speck, float farthest) const {
        std::array<std::uint32_t, kNearest + 1> found{};
        std::array<float, kNearest + 1> squares{};
        nanoflann::KNNResultSet<float, std::uint32_t> result(kNearest + 1);
        result.init(found.data(), squares.data());
        squares.back() = farthest;
        tree_.findNeighbors(result, places_[speck].data(), nanoflann::SearchParams());
        std::vector<std::uint32_t> others;
        for (std::size_t i = 0; i < result.size() && others.size() < kNearest; ++i)
            if (found[i] != speck) others.push_back(found[i]);
        return others;
    }

    [[nodiscard]] std::size_t kdtree_get_point_count() const { return places_.size(); }
    [[nodiscard]] float kdtree_get_pt(std::uint32_t i, std::size_t axis) const {
        return places_[i][axis];
    }
    template <class Box>
    bool kdtree_get_bbox(Box&) const {
        return false;
    }

private:
    using Metric = nanoflann::L2_Simple_Adaptor<float, Oracle, float, std::uint32_t>;
    const Places& places_;
    nanoflann::KDTreeSingleIndexAdaptor<Metric, Oracle, 3, std::uint32_t> tree_;
};

/// Specks in a box, on a wall, on a lattice, where many are equally far, or in a few places.
Places SomePlaces(int kind, std::size_t count, std::mt19937& random) {
    std::uniform_real_distribution<float> unit(-1, 1);
    std::uniform_int_distribution<int> step(-5, 5);
    Places places;
    for (std::size_t i = 0; i < count; ++i) {
        SpeckNeighbours::Place at{unit(random), unit(random), unit(random)};
        if (kind == 1) at[0] = 0.01F * at[0];
        if (kind == 2)
            at = {0.25F * static_cast<float>(step(random)), 0.1F * static_cast<float>(step(random)),
                  0.25F};
        if (kind == 3) at = {static_cast<float>(i % 7), 0, static_cast<float>(i % 3)};
        places.push_back(at);
    }
    return places;
}

class SpeckNeighboursModel : public testing::TestWithParam<unsigned> {};

TEST_P(SpeckNeighboursModel, FindsWhatTheTreesOwnSearchFindsTiesIncluded) {
    std::mt19937 random(GetParam());
    SCOPED_TRACE(testing::Message() << "seed " << GetParam());
    const int kind = static_cast<int>(GetParam() % 4);
    const std::size_t count = GetParam() < 8 ? 1 + random() % 30 : random() % 3000 + 1;
    const Places places = SomePlaces(kind, count, random);
    std::vector<float> farthest;
    for (std::size_t i = 0; i < count; ++i)
        farthest.push_back(std::array{0.0625F, 0.01F, 100.0F, 0.0F}[random() % 4]);
    const std::function<bool()> always;
    detail::Asker asker(always, 1);
    const SpeckNeighbours nearest(places, farthest, asker);
    const Oracle oracle(places);
    for (std::uint32_t i = 0; i < count; ++i) {
        const auto found = nearest.Of(i);
        ASSERT_EQ(std::vector(found.begin(), found.end()), oracle.Of(i, farthest[i])) << i;
    }
}
INSTANTIATE_TEST_SUITE_P(Seeds, SpeckNeighboursModel, testing::Range(0U, 32U));

TEST(SpeckNeighbours, LeavesTheRestWithoutNeighboursWhereItIsToldToStop) {
    std::mt19937 random(1);
    const Places places = SomePlaces(0, 500, random);
    const std::vector<float> farthest(places.size(), 100.0F);
    const std::function<bool()> never = [] { return false; };
    detail::Asker asker(never, 100);
    const SpeckNeighbours nearest(places, farthest, asker);
    EXPECT_EQ(nearest.Of(0).size(), kNearest);
    EXPECT_TRUE(nearest.Of(499).empty());
}

}  // namespace
}  // namespace orvix::detection
