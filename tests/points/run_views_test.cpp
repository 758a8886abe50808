// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/points/run_views.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <thread>
#include <vector>

namespace orvix::detail {
namespace {

TEST(RunViews, HandsOutAWindowThatWasGivenBack) {
    RunViews views;
    ViewWindow* const first = views.Take();
    ViewWindow* const second = views.Take();
    EXPECT_NE(first, second);
    views.GiveBack(first);
    EXPECT_EQ(views.Take(), first);
    views.Release();
    views.GiveBack(second);
    EXPECT_EQ(views.Take(), second);
}

TEST(RunViews, ThreadsNeverHoldTheSameWindow) {
    constexpr int kRounds = 2'000;
    RunViews views;
    std::array<std::vector<ViewWindow*>, 4> kept;
    std::vector<std::thread> threads;
    for (auto& mine : kept) {
        threads.emplace_back([&views, &mine] {
            for (int round = 0; round < kRounds; ++round) {
                views.GiveBack(views.Take());
                if (round % 100 == 0) mine.push_back(views.Take());
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    std::vector<ViewWindow*> all;
    for (const auto& mine : kept) all.insert(all.end(), mine.begin(), mine.end());
    std::ranges::sort(all);
    EXPECT_EQ(all.size(), 4u * kRounds / 100);
    EXPECT_EQ(std::ranges::adjacent_find(all), all.end());
}

}  // namespace
}  // namespace orvix::detail
