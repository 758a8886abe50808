// SPDX-License-Identifier: GPL-3.0-or-later
#include "parallel/run_in_order.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace orvix::parallel::test {
namespace {

struct Job {
    int number = 0;
};

OrderedSteps<Job> CountTo(int end, int& next) {
    OrderedSteps<Job> steps;
    steps.take = [&next, end](Job& job) -> Expected<bool> {
        job.number = next++;
        return job.number < end;
    };
    steps.work = [](Job& job) -> Expected<void> {
        // Late jobs are the quick ones.
        std::this_thread::sleep_for(std::chrono::microseconds(100 * (7 - job.number % 7)));
        return {};
    };
    return steps;
}

TEST(RunInOrder, CommitsInTheOrderInWhichJobsWereTaken) {
    for (const unsigned threads : {1u, 2u, 8u}) {
        Pool pool(threads, {}, "");
        int next = 0;
        std::vector<int> committed;
        auto steps = CountTo(200, next);
        steps.commit = [&](Job& job) -> Expected<void> {
            committed.push_back(job.number);
            return {};
        };
        ASSERT_TRUE(RunInOrder(pool, steps));
        ASSERT_EQ(committed.size(), 200u);
        EXPECT_TRUE(std::is_sorted(committed.begin(), committed.end()));
    }
}

TEST(RunInOrder, ReportsTheEarliestFailureAndCommitsNothingAfterIt) {
    Pool pool(4, {}, "");
    int next = 0;
    int last = -1;
    auto steps = CountTo(200, next);
    steps.work = [](Job& job) -> Expected<void> {
        if (job.number >= 50) return Fail(ErrorCode::BadInput, std::to_string(job.number));
        return {};
    };
    steps.commit = [&](Job& job) -> Expected<void> {
        last = job.number;
        return {};
    };
    const auto done = RunInOrder(pool, steps);
    ASSERT_FALSE(done);
    EXPECT_EQ(done.error().message, "50");
    EXPECT_EQ(last, 49);
}

}  // namespace
}  // namespace orvix::parallel::test
