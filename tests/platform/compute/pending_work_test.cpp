// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/compute/pending_work.h"

#include <gtest/gtest.h>

#include <vector>

namespace orvix::platform {
namespace {

using std::chrono::milliseconds;

TEST(PendingWork, AsksForTheOldestAndNoFurtherThanItWaitsFor) {
    PendingWork<int> work;
    for (int mark = 10; mark < 14; ++mark) work.Add(mark);
    std::vector<int> asked;
    const auto ask = [&asked](int mark) {
        asked.push_back(mark);
        return asked.size() % 2 == 0 ? WorkState::Done : WorkState::Running;
    };
    EXPECT_TRUE(work.WaitFor(2, ask, milliseconds(1000)));
    EXPECT_EQ(asked, (std::vector<int>{10, 10, 11, 11}));
    EXPECT_EQ(work.Oldest(), 3U);
    EXPECT_TRUE(work.WaitFor(1, ask, milliseconds(1000))) << "done before";
    EXPECT_EQ(asked.size(), 4U);
}

TEST(PendingWork, HasRoomAgainOnceTheOldestIsDone) {
    PendingWork<std::size_t> work;
    for (std::size_t i = 0; i < PendingWork<std::size_t>::kMost; ++i) {
        EXPECT_FALSE(work.IsFull());
        work.Add(i);
    }
    ASSERT_TRUE(work.IsFull());
    EXPECT_TRUE(work.WaitFor(
        work.Oldest(), [](std::size_t) { return WorkState::Done; }, milliseconds(1000)));
    EXPECT_FALSE(work.IsFull());
    EXPECT_EQ(work.Add(64), 65U);
    std::size_t last = 0;
    const auto ask = [&last](std::size_t mark) {
        EXPECT_EQ(mark, ++last);
        return WorkState::Done;
    };
    EXPECT_TRUE(work.WaitFor(work.Newest(), ask, milliseconds(1000)));
    EXPECT_TRUE(work.IsEmpty());
}

TEST(PendingWork, EndsAtAFailureAndWhenOnePieceTakesLongerThanThePatience) {
    PendingWork<int> work;
    work.Add(1);
    EXPECT_FALSE(work.WaitFor(
        1, [](int) { return WorkState::Failed; }, std::chrono::hours(1)));
    EXPECT_FALSE(work.WaitFor(
        1, [](int) { return WorkState::Running; }, milliseconds(30)));
    EXPECT_EQ(work.Oldest(), 1U) << "it is still under way";
}

TEST(PendingWork, IsPatientWithEachPieceAnew) {
    PendingWork<int> work;
    for (int mark = 0; mark < 8; ++mark) work.Add(mark);
    auto began = std::chrono::steady_clock::now();
    const auto ask = [&began](int) {
        const auto now = std::chrono::steady_clock::now();
        if (now - began < milliseconds(100)) return WorkState::Running;
        began = now;
        return WorkState::Done;
    };
    EXPECT_TRUE(work.WaitFor(8, ask, milliseconds(700))) << "800 ms, 100 a piece";
}

}  // namespace
}  // namespace orvix::platform
