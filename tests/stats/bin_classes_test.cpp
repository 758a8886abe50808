// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/stats/bin_classes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <random>
#include <set>
#include <vector>

namespace orvix::detail {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Values = std::vector<double>;
using Firsts = std::vector<std::size_t>;

TEST(BinClasses, WeighBinsByTheirPoints) {
    // One point at 5 draws nothing; a thousand make a class of their own.
    EXPECT_THAT(BinClasses(Values{0, 1, 5, 9, 10}, Values{100, 100, 1, 100, 100}, 2),
                testing::AnyOf(ElementsAre(0, 2), ElementsAre(0, 3)));
    EXPECT_THAT(BinClasses(Values{0, 1, 5, 9, 10}, Values{100, 100, 1000, 100, 100}, 3),
                ElementsAre(0, 2, 3));
}

// BEHAVIOUR H9
TEST(BinClasses, GiveATieToTheLongerLastClass) {
    EXPECT_THAT(BinClasses(Values{1, 2, 3}, Values{7, 7, 7}, 2), ElementsAre(0, 1));
    // 0.1, 0.2, 0.3 are not evenly spaced as doubles: that is within the tolerance.
    EXPECT_THAT(BinClasses(Values{0.1, 0.2, 0.3}, Values{7, 7, 7}, 2), ElementsAre(0, 1));
}

TEST(BinClasses, AreNoMoreThanTheBins) {
    EXPECT_THAT(BinClasses(Values{1, 2, 30}, Values{1, 2, 3}, 5), ElementsAre(0, 1, 2));
    EXPECT_THAT(BinClasses(Values{4}, Values{9}, 3), ElementsAre(0));
    EXPECT_THAT(BinClasses(Values{1, 2}, Values{1, 1}, 1), ElementsAre(0));
    EXPECT_THAT(BinClasses(Values{}, Values{}, 3), IsEmpty());
    EXPECT_THAT(BinClasses(Values{1}, Values{1}, 0), IsEmpty());
}

// Sums of whole numbers up to 2^53 are exact; a class's deviation times its weight is whole.
long double DeviationOfClass(const Values& values, const Values& counts, std::size_t first,
                             std::size_t end) {
    std::int64_t weight = 0;
    std::int64_t sum = 0;
    std::int64_t squares = 0;
    for (std::size_t i = first; i < end; ++i) {
        const auto value = static_cast<std::int64_t>(values[i]);
        const auto count = static_cast<std::int64_t>(counts[i]);
        weight += count;
        sum += count * value;
        squares += count * value * value;
    }
    return static_cast<long double>(squares * weight - sum * sum) /
           static_cast<long double>(weight);
}

// Every division there is, in the order in which the rule prefers them.
void ForEachDivision(std::size_t end, std::size_t classes, Firsts& firsts, const auto& visit) {
    if (classes == 1) {
        firsts[0] = 0;
        visit(firsts);
        return;
    }
    for (std::size_t first = classes - 1; first < end; ++first) {
        firsts[classes - 1] = first;
        ForEachDivision(first, classes - 1, firsts, visit);
    }
}

TEST(BinClasses, AreTheFirstOfTheBestOfAllDivisions) {
    for (std::uint64_t seed = 0; seed < 2'000; ++seed) {
        std::mt19937_64 random(seed);
        std::set<double> distinct;
        const std::size_t count = 1 + random() % 11;
        const std::uint64_t range = seed % 2 == 0 ? 14 : 5'000;
        while (distinct.size() < count) distinct.insert(static_cast<double>(random() % range));
        const Values values(distinct.begin(), distinct.end());
        Values counts(count);
        for (double& weight : counts) weight = static_cast<double>(1 + random() % 9);
        const std::size_t classes = 1 + random() % count;

        Firsts firsts(classes);
        const auto sumOf = [&](const Firsts& division) {
            long double sum = 0;
            for (std::size_t i = 0; i < classes; ++i) {
                const std::size_t end = i + 1 < classes ? division[i + 1] : count;
                sum += DeviationOfClass(values, counts, division[i], end);
            }
            return sum;
        };
        long double min = std::numeric_limits<long double>::infinity();
        ForEachDivision(count, classes, firsts,
                        [&](const Firsts& division) { min = std::min(min, sumOf(division)); });
        const long double tolerance = 1e-12L * DeviationOfClass(values, counts, 0, count);
        Firsts best;
        ForEachDivision(count, classes, firsts, [&](const Firsts& division) {
            if (best.empty() && sumOf(division) <= min + tolerance) best = division;
        });
        ASSERT_EQ(BinClasses(values, counts, classes), best) << "seed " << seed;
        EXPECT_NEAR(DeviationOf(values, counts, best), static_cast<double>(min),
                    static_cast<double>(tolerance));
    }
}

TEST(BinClasses, ServeManyBins) {
    Values values(65'536);
    Values counts(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
        values[i] = static_cast<double>(i);
        counts[i] = 1;
    }
    // Evenly filled: classes of equal width.
    EXPECT_THAT(BinClasses(values, counts, 4), ElementsAre(0, 16'384, 32'768, 49'152));
}

}  // namespace
}  // namespace orvix::detail
