// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/saved/kept_numbers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orvix/project/saved/saved_plane.h"

namespace orvix::detection {
namespace {

using testing::ElementsAre;

/// Points of one plane before and one now.
struct Shared {
    std::int32_t before;
    std::int32_t now;
    std::size_t points;
};

std::vector<std::uint32_t> NumbersOf(KeptNumbers& kept, const std::vector<Shared>& shares,
                                     const std::vector<std::uint64_t>& points) {
    for (const Shared& share : shares)
        kept.Count(std::vector(share.points, share.before), std::vector(share.points, share.now));
    auto numbers = kept.Numbers(points);
    EXPECT_TRUE(numbers);
    return numbers ? *numbers : std::vector<std::uint32_t>();
}

TEST(KeptNumbers, BeginWithOne) {
    KeptNumbers kept({}, 1);
    EXPECT_THAT(NumbersOf(kept, {{-1, 0, 9}, {-1, 1, 5}}, {9, 5}), ElementsAre(1, 2));
    EXPECT_EQ(kept.NextNumber(), 3U);
    EXPECT_EQ(kept.Kept(), 0U);
}

// BEHAVIOUR A12
TEST(KeptNumbers, GoToThePlaneThatSharesMostPoints) {
    KeptNumbers kept({{4, 5000}, {9, 700}}, 12);
    const auto numbers =
        NumbersOf(kept, {{0, 0, 3000}, {0, 1, 1800}, {0, -1, 200}, {1, 2, 700}}, {3000, 1800, 700});
    EXPECT_THAT(numbers, ElementsAre(4, 12, 9));
    EXPECT_EQ(kept.NextNumber(), 13U);
    EXPECT_EQ(kept.Kept(), 2U);
}

TEST(KeptNumbers, OfTwoPlanesThatBecameOneTheLargerShareDecides) {
    KeptNumbers kept({{1, 400}, {2, 600}}, 3);
    EXPECT_THAT(NumbersOf(kept, {{0, 0, 400}, {1, 0, 600}}, {1000}), ElementsAre(2));
    EXPECT_EQ(kept.NextNumber(), 3U) << "the number that is gone is not given again";
}

TEST(KeptNumbers, NeedHalfOfThePointsOfTheSmallerPlane) {
    KeptNumbers half({{7, 1000}}, 8);
    EXPECT_THAT(NumbersOf(half, {{0, 0, 50}}, {100}), ElementsAre(7));
    KeptNumbers less({{7, 1000}}, 8);
    EXPECT_THAT(NumbersOf(less, {{0, 0, 49}}, {100}), ElementsAre(8));
    KeptNumbers odd({{7, 99}}, 8);
    EXPECT_THAT(NumbersOf(odd, {{0, 0, 49}}, {1000}), ElementsAre(8));
}

TEST(KeptNumbers, OfEqualSharesTheLowerNumberAndThenTheFirstPlaneComesFirst) {
    KeptNumbers kept({{6, 100}, {5, 100}}, 7);
    const auto numbers =
        NumbersOf(kept, {{0, 0, 50}, {0, 1, 50}, {1, 0, 50}, {1, 1, 50}}, {100, 100});
    EXPECT_THAT(numbers, ElementsAre(5, 6));
}

TEST(KeptNumbers, RunOutAtThirtyOneBits) {
    KeptNumbers kept({}, detail::kMaxPlaneNumber);
    EXPECT_THAT(NumbersOf(kept, {}, {1}), ElementsAre(0x7FFFFFFF));
    KeptNumbers full({}, detail::kMaxPlaneNumber);
    const std::vector<std::uint64_t> two{1, 1};
    const auto refused = full.Numbers(two);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().code, ErrorCode::BadInput);
}

}  // namespace
}  // namespace orvix::detection
