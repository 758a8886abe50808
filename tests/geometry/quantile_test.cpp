// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/geometry/quantile.h"

#include <gtest/gtest.h>

#include <random>

namespace orvix::detail {
namespace {

TEST(Quantile, IsTheValueThatSortingPutsThereForEveryShare) {
    std::mt19937 random(3);
    for (std::size_t count = 1; count < 40; ++count) {
        SCOPED_TRACE(count);
        std::vector<int> values(count);
        for (int& value : values) value = static_cast<int>(random() % 20);
        std::vector<int> sorted = values;
        std::sort(sorted.begin(), sorted.end());
        EXPECT_EQ(Quantile(values, 0), sorted.front());
        EXPECT_EQ(Quantile(values, 1), sorted.back());
        EXPECT_EQ(Quantile(values, 0.25), sorted[(count - 1) / 4]);
        EXPECT_EQ(Quantile(values, 0.5), sorted[(count - 1) / 2]);
        EXPECT_EQ(UpperMedian(values), sorted[count / 2]);
    }
}

}  // namespace
}  // namespace orvix::detail
