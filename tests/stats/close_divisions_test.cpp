// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/stats/close_divisions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <vector>

#include "orvix/stats/exhaustive_breaks.h"

namespace orvix::detail {
namespace {

using testing::IsEmpty;
using Values = std::vector<double>;
using Random = std::mt19937_64;

double Uniform(Random& random) {
    return static_cast<double>(random() >> 11) * 0x1p-53;
}

Values Drawn(std::size_t count, std::uint64_t seed, const std::function<double(Random&)>& draw) {
    Random random(seed);
    Values values(count);
    for (double& value : values) value = draw(random);
    std::sort(values.begin(), values.end());
    return values;
}

// The short way is taken, and leads to the same place.
void ExpectExhaustive(const Values& values, std::size_t classes) {
    const auto firsts = CloseFirsts(values, classes);
    ASSERT_FALSE(firsts.empty());
    EXPECT_EQ(firsts, ExhaustiveFirsts(values, classes)) << classes << " classes";
}

TEST(CloseDivisions, AreThoseOfEveryPositionTried) {
    for (std::uint64_t seed = 0; seed < 6; ++seed) {
        SCOPED_TRACE(seed);
        const std::size_t classes = 2 + seed * 2;
        const std::size_t count = 300 + 500 * seed;
        ExpectExhaustive(Drawn(count, seed, Uniform), classes);
        ExpectExhaustive(Drawn(count, seed, [](Random& r) { return -std::log(1 - Uniform(r)); }),
                         classes);
        ExpectExhaustive(Drawn(count, seed, [](Random& r) { return double(r() % 65'536); }),
                         classes);
    }
}

// Far from zero rounding makes neighbouring positions equal or swaps them: many must be computed.
TEST(CloseDivisions, AreTheSameWhereRoundingDecides) {
    for (const double offset : {30.0, 100.0, 300.0, 1000.0}) {
        SCOPED_TRACE(offset);
        ExpectExhaustive(Drawn(1'500, 5, [&](Random& r) { return offset + Uniform(r); }), 6);
    }
}

TEST(CloseDivisions, GiveTiesToTheSmallerPosition) {
    Values ladder(1'000);
    for (std::size_t i = 0; i < ladder.size(); ++i) ladder[i] = static_cast<double>(i);
    for (const std::size_t classes : {2u, 3u, 5u, 8u}) ExpectExhaustive(ladder, classes);
    // Few values, often: 3 x 1, 4 x 2, ...
    ExpectExhaustive(Drawn(2'000, 3, [](Random& r) { return double(r() % 24); }), 7);
    ExpectExhaustive(Drawn(2'000, 4, [](Random& r) { return double(r() % 24) / 100; }), 7);
}

TEST(CloseDivisions, AreGivenUpWhereTheyAreNoUse) {
    const Values far = Drawn(2'000, 6, [](Random& r) { return 1e12 + Uniform(r); });
    EXPECT_THAT(CloseFirsts(far, 5), IsEmpty());
    const Values fewerValuesThanClasses =
        Drawn(3'000, 7, [](Random& r) { return double(r() % 3); });
    EXPECT_THAT(CloseFirsts(fewerValuesThanClasses, 5), IsEmpty());
    EXPECT_THAT(CloseFirsts(Values{2, 1, 3}, 2), IsEmpty());
    EXPECT_THAT(CloseFirsts(Values{1, 2, std::nan("")}, 2), IsEmpty());
    EXPECT_THAT(CloseFirsts(Values{1, 2, 1e200}, 2), IsEmpty());
    EXPECT_THAT(CloseFirsts(Values{1, 2, 3}, 1), IsEmpty());
}

}  // namespace
}  // namespace orvix::detail
