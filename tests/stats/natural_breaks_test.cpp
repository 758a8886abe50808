// SPDX-License-Identifier: GPL-3.0-or-later
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "orvix/stats/mathematic.h"
#include "support/plain_breaks.h"

namespace orvix {
namespace {

using testing::ElementsAre;
using Values = std::vector<double>;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

Values Breaks(Values values, int classes, double lowerBound = -1) {
    return Mathematic::GetJenksBreaks(values, classes, lowerBound);
}

TEST(NaturalBreaks, AreTheLargestValueOfEachClassAfterTheGivenLowerBound) {
    EXPECT_THAT(Breaks({1, 2, 3, 10, 11, 12, 20, 21}, 3), ElementsAre(-1, 3, 12, 21));
}

TEST(NaturalBreaks, KeepALowerBoundAboveTheSmallestValue) {
    EXPECT_THAT(Breaks({1, 2, 9}, 2, 5.5), ElementsAre(5.5, 2, 9));
}

TEST(NaturalBreaks, OfNoClassAreTheLargestValueAlone) {
    EXPECT_THAT(Breaks({1, 2, 3}, 0), ElementsAre(3));
}

TEST(NaturalBreaks, OfOneClassAreTheBoundsAlone) {
    EXPECT_THAT(Breaks({1, 2, 3}, 1), ElementsAre(-1, 3));
}

TEST(NaturalBreaks, OfASingleValueRepeatIt) {
    EXPECT_THAT(Breaks({7}, 4), ElementsAre(-1, 7, 7, 7, 7));
}

TEST(NaturalBreaks, RepeatWhereThereAreMoreClassesThanValues) {
    const Values breaks = Breaks({1, 5, 9}, 6);
    ASSERT_EQ(breaks.size(), 7u);
    EXPECT_EQ(breaks.back(), 9);
    EXPECT_TRUE(std::is_sorted(breaks.begin(), breaks.end()));
}

TEST(NaturalBreaks, OfEqualValuesAreThatValue) {
    EXPECT_THAT(Breaks(Values(40, 2.5), 4), ElementsAre(-1, 2.5, 2.5, 2.5, 2.5));
}

// BEHAVIOUR H8
TEST(NaturalBreaks, GiveATieToTheLongerLastClass) {
    // {1} {2 3} and {1 2} {3} are equally good.
    EXPECT_THAT(Breaks({1, 2, 3}, 2), ElementsAre(-1, 1, 3));
}

TEST(NaturalBreaks, OfNothingAreTheLowerBoundAndOfNegativeClassesNone) {
    EXPECT_THAT(Breaks({}, 2), ElementsAre(-1, -1, -1));
    EXPECT_THAT(Breaks({1, 2}, -3), ElementsAre());
}

TEST(NaturalBreaks, LeaveTheValuesAsTheyAre) {
    Values values{1, 2, 10};
    Mathematic::GetJenksBreaks(values, 2, 0);
    EXPECT_THAT(values, ElementsAre(1, 2, 10));
}

// Equal as bits, so that -0.0, infinities and NaN count; any NaN is like another.
bool SameBits(const Values& a, const Values& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](double x, double y) {
        return std::bit_cast<std::uint64_t>(x) == std::bit_cast<std::uint64_t>(y) ||
               (std::isnan(x) && std::isnan(y));
    });
}

struct Population {
    const char* name;
    std::function<double(std::mt19937_64&)> draw;
    bool sorted = true;
};

double Uniform(std::mt19937_64& random) {
    return static_cast<double>(random() >> 11) * 0x1p-53;
}

double OneOf(std::mt19937_64& random, const Values& values) {
    return values[random() % values.size()];
}

const Population kPopulations[] = {
    {"uniform", Uniform},
    {"small integers", [](auto& random) { return static_cast<double>(random() % 12); }},
    {"intensities", [](auto& random) { return static_cast<double>(random() % 65'536); }},
    {"two values",
     [](auto& random) {
         return OneOf(random, {0.1, 0.3});
     }},
    {"negative", [](auto& random) { return Uniform(random) - 0.5; }},
    {"centimetres", [](auto& random) { return (static_cast<double>(random() % 300)) / 100.0; }},
    {"far from zero", [](auto& random) { return 1e9 + Uniform(random); }},
    {"farther than differences show", [](auto& random) { return 1e17 + 64 * Uniform(random); }},
    {"exponential", [](auto& random) { return -std::log(1 - Uniform(random)); }},
    {"of every magnitude", [](auto& random) { return std::exp2(2000 * Uniform(random) - 1000); }},
    {"whose squares vanish", [](auto& random) { return 1e-160 * Uniform(random); }},
    {"subnormal", [](auto& random) { return 1e-310 * Uniform(random); }},
    {"whose squares overflow", [](auto& random) { return 1e155 * Uniform(random); }},
    {"zeros of both signs",
     [](auto& random) {
         return OneOf(random, {0.0, -0.0, 1.0});
     }},
    {"with infinities",
     [](auto& random) {
         return OneOf(random, {1, 2, kInfinity, 3, 5});
     }},
    {"with NaN",
     [](auto& random) {
         return OneOf(random, {1, 2, 3, 4, 5, kNaN, -2});
     },
     false},
    {"unsorted", Uniform, false},
    {"unsorted and far", [](auto& random) { return 1e8 * Uniform(random) - 5e7; }, false},
    {"unsorted integers", [](auto& random) { return static_cast<double>(random() % 9); }, false},
};

class NaturalBreaksOf : public testing::TestWithParam<Population> {};

TEST_P(NaturalBreaksOf, ThePopulationEqualThePlainRecurrenceBitForBit) {
    for (std::uint64_t seed = 0; seed < 300; ++seed) {
        std::mt19937_64 random(seed);
        const std::size_t largest = seed % 10 == 9 ? 400 : 24;
        Values values(1 + random() % largest);
        for (double& value : values) value = GetParam().draw(random);
        if (GetParam().sorted) std::sort(values.begin(), values.end());
        const int classes = static_cast<int>(random() % 11);
        const Values breaks = Breaks(values, classes);
        ASSERT_TRUE(SameBits(breaks, test::PlainBreaks(values, classes, -1)))
            << "seed " << seed << ", " << values.size() << " values, " << classes
            << " classes: " << testing::PrintToString(breaks);
    }
}

INSTANTIATE_TEST_SUITE_P(Populations, NaturalBreaksOf, testing::ValuesIn(kPopulations),
                         [](const auto& population) {
                             std::string name = population.param.name;
                             std::replace(name.begin(), name.end(), ' ', '_');
                             return name;
                         });

}  // namespace
}  // namespace orvix
