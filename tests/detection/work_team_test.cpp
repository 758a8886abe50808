// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/work_team.h"

#include <gtest/gtest.h>
#include <atomic>
#include <new>
#include <string>
#include <vector>

namespace orvix::detection {
namespace {

TEST(WorkTeam, DoesEveryJobOnce) {
    for (const unsigned threads : {1U, 2U, 7U}) {
        std::vector<std::atomic<int>> done(1000);
        const WorkTeam team(threads, {});
        const auto result = team.Run(done.size(), [&](std::size_t job, unsigned worker) {
            EXPECT_LT(worker, threads);
            ++done[job];
            return Expected<void>{};
        });
        EXPECT_TRUE(result);
        for (const auto& times : done) EXPECT_EQ(times, 1);
    }
}

TEST(WorkTeam, ReportsAFailureAndStartsNoFurtherJobs) {
    std::atomic<int> started{0};
    const auto result = WorkTeam(1, {}).Run(100, [&](std::size_t job, unsigned) -> Expected<void> {
        ++started;
        if (job == 3) return Fail(ErrorCode::Damaged, "job " + std::to_string(job));
        return {};
    });
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().message, "job 3");
    EXPECT_EQ(started, 4);
}

TEST(WorkTeam, TurnsRunningOutOfMemoryIntoAFailure) {
    const auto result = WorkTeam(2, {}).Run(
        4, [](std::size_t, unsigned) -> Expected<void> { throw std::bad_alloc(); });
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code, ErrorCode::Failure);
}

TEST(WorkTeam, IsCancelledBetweenJobs) {
    int asked = 0;
    const WorkTeam team(1, [&asked] { return ++asked < 5; });
    int done = 0;
    const auto result = team.Run(100, [&](std::size_t, unsigned) {
        ++done;
        return Expected<void>{};
    });
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code, ErrorCode::Cancelled);
    EXPECT_EQ(done, 4);
}

}  // namespace
}  // namespace orvix::detection
