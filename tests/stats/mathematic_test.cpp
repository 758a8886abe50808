// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/stats/mathematic.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <map>
#include <set>
#include <vector>

#include "orvix/stats/random_draw.h"

namespace orvix {
namespace {

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::Ge;
using testing::Le;

constexpr float kNaNf = std::numeric_limits<float>::quiet_NaN();

TEST(Mathematic, AveragesInOrderAndHasNoAverageOfNothing) {
    EXPECT_EQ(Mathematic::Average({1, 2, 6}), 3.0);
    // In order: the 1 is lost beside 1e17 before that goes away.
    EXPECT_EQ(Mathematic::Average({1, 1e17, -1e17, 3}), 0.75);
    EXPECT_TRUE(std::isnan(Mathematic::Average({})));
}

// BEHAVIOUR H10
TEST(Mathematic, HandsOutTheSumsOfCoordinatesAsTheCentroid) {
    CCloudPoint<float> a;
    a.x = 1, a.y = 2, a.z = 3;
    CCloudPoint<float> b;
    b.x = 3, b.y = 4, b.z = 5;
    CCloudPoint<double> sums{7, 7, 7};
    Mathematic::CalculateCentroid({a, b}, sums);
    EXPECT_THAT((std::vector<double>{sums.x, sums.y, sums.z}), ElementsAre(4, 6, 8));
    Mathematic::CalculateCentroid({}, sums);
    EXPECT_THAT((std::vector<double>{sums.x, sums.y, sums.z}), ElementsAre(0, 0, 0));
}

TEST(Mathematic, CorrelatesInSinglePrecision) {
    std::vector<float> x{1, 2, 3, 4};
    std::vector<float> y{2, 4, 6, 8};
    EXPECT_EQ(Mathematic::PearsonCorrelation(x, y), 1.0f);
    y = {8, 6, 4, 2};
    EXPECT_EQ(Mathematic::PearsonCorrelation(x, y), -1.0f);
    // 2^24 + 1 is no float: the sum of x is 2^24, and its mean 2^23.
    x = {16'777'216, 1};
    y = {0, 1};
    EXPECT_EQ(Mathematic::PearsonCorrelation(x, y),
              (8'388'608.0f * -0.5f + -8'388'607.0f * 0.5f) /
                  std::sqrt((70'368'744'177'664.0f + 70'368'727'400'449.0f) * 0.5f));
}

TEST(Mathematic, CorrelatesTheFirstPairsAgainstTheMeanOfAllOfY) {
    std::vector<float> x{0, 1};
    std::vector<float> y{0, 1, 5};
    // dx = -0.5, 0.5; dy = -2, -1.
    EXPECT_EQ(Mathematic::PearsonCorrelation(x, y), 0.5f / std::sqrt(0.5f * 5.0f));
}

TEST(Mathematic, HasNoCorrelationOfOneValueAndNaNOfConstantOnes) {
    std::vector<float> one{4};
    EXPECT_EQ(Mathematic::PearsonCorrelation(one, one), 0.0f);
    std::vector<float> constant{4, 4};
    std::vector<float> varying{1, 2};
    EXPECT_TRUE(std::isnan(Mathematic::PearsonCorrelation(constant, varying)));
    EXPECT_TRUE(std::isnan(Mathematic::PearsonCorrelation(varying, constant)));
    std::vector<float> withNaN{1, kNaNf};
    EXPECT_TRUE(std::isnan(Mathematic::PearsonCorrelation(withNaN, varying)));
}

std::vector<int> Multipliers(unsigned long long packed) {
    int a = 9;
    int b = 9;
    int c = 9;
    int d = 9;
    const bool result = Mathematic::GetMultipliers(packed, a, b, c, d);
    return {a, b, c, d, result};
}

TEST(Mathematic, TakesTheBytesOfTheLowHalfApart) {
    EXPECT_THAT(Multipliers(0x01020304), ElementsAre(4, 3, 2, 1, 1));
    EXPECT_THAT(Multipliers(0xABCDEF01'01020304), ElementsAre(4, 3, 2, 1, 1));
    EXPECT_THAT(Multipliers(0x7FFFFFFF), ElementsAre(255, 255, 255, 127, 1));
}

TEST(Mathematic, DividesANegativePackedValueTowardZero) {
    EXPECT_THAT(Multipliers(0xFFFFFFFF), ElementsAre(255, 255, 0, 0, 1));  // -1
    // -16,908,801 is -1 x 2^24 and a rest of -131,585: -2 x 65,536 and -513.
    EXPECT_THAT(Multipliers(static_cast<std::uint32_t>(-16'908'801)),
                ElementsAre(255, 253, -2, -1, 1));
    EXPECT_THAT(Multipliers(0x80000000), ElementsAre(0, 0, 0, -128, 1));
}

TEST(Mathematic, RoundsToThreeDecimalsHalvesAwayFromZero) {
    EXPECT_EQ(Mathematic::round(1.2345), 1.235);
    EXPECT_EQ(Mathematic::round(-1.2345), -1.235);
    EXPECT_EQ(Mathematic::round(1.23449), 1.234);
    EXPECT_EQ(Mathematic::round(0.0005), 0.001);
    EXPECT_EQ(Mathematic::round(-0.0), 0.0);
}

// BEHAVIOUR H11
TEST(Mathematic, RoundsWhatLeavesTheIntegersToTheSmallest) {
    for (const double x : {9.3e15, -9.3e15, std::numeric_limits<double>::infinity(),
                           std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_EQ(Mathematic::round(x), -9223372036854775.808) << x;
    }
}

TEST(Mathematic, MultipliesRadiansBeforeItDivides) {
    double angle = 3.141592653589793;
    Mathematic::rad2deg(angle);
    EXPECT_EQ(angle, 180.0);
    angle = 0.1;
    Mathematic::rad2deg(angle);
    EXPECT_EQ(angle, 0.1 * 180.0 / 3.141592653589793);
}

TEST(Mathematic, DrawsWholeNumbersFromLowerToUpper) {
    std::srand(7);
    std::set<long long> drawn;
    for (int i = 0; i < 4'000; ++i) drawn.insert(Mathematic::Rand(3, -2));
    EXPECT_THAT(drawn, Each(AllOf(Ge(-2), Le(3))));
    // -1.9 to -1 truncates to -1, so that 0 is drawn from both sides.
    EXPECT_THAT(drawn, testing::IsSupersetOf({-1ll, 0ll, 1ll, 2ll}));
    for (int i = 0; i < 100; ++i) EXPECT_EQ(Mathematic::Rand(10, 10), 10);
}

TEST(Mathematic, DrawsWhatTheRuntimesGeneratorWasSeededFor) {
    std::srand(11);
    const long long first = Mathematic::Rand(32'767, 0);
    const long long second = Mathematic::Rand(32'767, 0);
    std::srand(11);
    EXPECT_EQ(Mathematic::Rand(32'767, 0), first);
    EXPECT_EQ(Mathematic::Rand(32'767, 0), second);
}

// BEHAVIOUR H4
TEST(RandomDraw, OfTheRuntimeFillsFifteenBits) {
    std::srand(1);
    int bits = 0;
    for (int i = 0; i < 10'000; ++i) {
        const int draw = detail::DrawOfRuntime();
        ASSERT_TRUE(draw >= 0 && draw <= detail::kMaxDraw);
        bits |= draw;
    }
    EXPECT_EQ(bits, detail::kMaxDraw);
}

// BEHAVIOUR H4
TEST(RandomDraw, OfASeedIsTheSameOnEverySystem) {
    detail::SeededDraws draws(1);
    EXPECT_EQ(draws(), 41);
    EXPECT_EQ(draws(), 18'467);
    EXPECT_EQ(draws(), 6'334);
}

// BEHAVIOUR H5
TEST(RandomDraw, ScalesInSinglePrecisionToBothEnds) {
    EXPECT_EQ(detail::ScaleDraw(0, 100, 5), 5);
    EXPECT_EQ(detail::ScaleDraw(32'767, 100, 5), 105);
    EXPECT_EQ(detail::ScaleDraw(32'766, 100, 0), 99);
    // 2^24 + 1 is no float.
    EXPECT_EQ(detail::ScaleDraw(32'767, 16'777'217, 0), 16'777'216);
    EXPECT_EQ(detail::ScaleDraw(32'767, 5'000'000'001, 0), 5'000'000'000);
    EXPECT_EQ(detail::ScaleDraw(32'767, std::numeric_limits<std::int64_t>::max(), 0),
              std::numeric_limits<std::int64_t>::min());
}

std::vector<double> Sample(int count, std::map<long long, double> histogram, long long total,
                           std::vector<double> samples = {}) {
    Mathematic::PreapareHistogram4Jenks(count, 77, histogram, &samples, total);
    return samples;
}

TEST(JenksSample, DrawsBinsInProportionToTheirPoints) {
    const auto samples = Sample(20'000, {{1'000, 1.5}, {4'000, 2.5}, {10'000, 3.5}}, 10'000);
    ASSERT_TRUE(std::is_sorted(samples.begin(), samples.end()));
    // The largest draw of all reaches the last key and adds nothing.
    EXPECT_NEAR(static_cast<double>(samples.size()), 20'000, 12);
    const auto share = [&](double value) {
        return static_cast<double>(std::count(samples.begin(), samples.end(), value)) / 20'000.0;
    };
    EXPECT_NEAR(share(1.5), 0.1, 0.02);
    EXPECT_NEAR(share(2.5), 0.3, 0.03);
    EXPECT_NEAR(share(3.5), 0.6, 0.03);
}

// BEHAVIOUR H7
TEST(JenksSample, AddsNothingForDrawsThatReachTheLastKey) {
    // The first key is 0: no draw is below it, and every draw but 0..3 of 4 is past the last.
    const auto samples = Sample(4'000, {{0, 1.0}, {1, 2.0}}, 4);
    EXPECT_THAT(samples, Each(2.0));
    EXPECT_NEAR(static_cast<double>(samples.size()), 1'000, 150);
}

TEST(JenksSample, SortsWhatTheVectorHeldTogetherWithTheDraws) {
    EXPECT_THAT(Sample(2, {{10, 4.0}}, 9, {7, 1}), ElementsAre(1, 4, 4, 7));
    EXPECT_THAT(Sample(0, {{10, 4.0}}, 9, {7, 1}), ElementsAre(1, 7));
    EXPECT_THAT(Sample(-3, {{10, 4.0}}, 9, {7, 1}), ElementsAre(1, 7));
    EXPECT_THAT(Sample(5, {}, 9, {7, 1}), ElementsAre(1, 7));
}

TEST(JenksSample, SortsNaNLast) {
    const auto samples = Sample(50, {{5, kNaNf}, {10, 1.0}}, 9, {3});
    const auto firstNaN = std::find_if(samples.begin(), samples.end(),
                                       [](double value) { return std::isnan(value); });
    EXPECT_TRUE(std::is_sorted(samples.begin(), firstNaN));
    EXPECT_TRUE(
        std::all_of(firstNaN, samples.end(), [](double value) { return std::isnan(value); }));
}

// BEHAVIOUR H6
TEST(JenksSample, WrapsDrawsOfMoreThanTwoToTheThirtyOnePoints) {
    // Draws from 2^31 to 2^32 - 1 are negative in 32 bits, below every key: the first bin's.
    const auto samples = Sample(2'000, {{1, 1.0}, {4'294'967'296, 2.0}}, 4'294'967'040);
    const auto first = std::count(samples.begin(), samples.end(), 1.0);
    EXPECT_NEAR(static_cast<double>(first), 1'000, 120);
}

}  // namespace
}  // namespace orvix
