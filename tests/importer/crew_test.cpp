// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/crew.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <new>
#include <thread>
#include <vector>

namespace orvix::importer::test {
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

TEST(Crew, CommitsInTheOrderInWhichJobsWereTaken) {
    ProgressMeter meter({});
    for (const unsigned workers : {1u, 2u, 8u}) {
        Crew crew(meter, workers);
        int next = 0;
        std::vector<int> committed;
        auto steps = CountTo(200, next);
        steps.commit = [&](Job& job) -> Expected<void> {
            committed.push_back(job.number);
            return {};
        };
        ASSERT_TRUE(RunInOrder(crew, steps));
        ASSERT_EQ(committed.size(), 200u);
        EXPECT_TRUE(std::is_sorted(committed.begin(), committed.end()));
    }
}

TEST(Crew, ReportsTheEarliestFailureAndCommitsNothingAfterIt) {
    ProgressMeter meter({});
    Crew crew(meter, 4);
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
    const auto done = RunInOrder(crew, steps);
    ASSERT_FALSE(done);
    EXPECT_EQ(done.error().message, "50");
    EXPECT_EQ(last, 49);
}

TEST(Crew, TurnsExhaustedMemoryIntoAFailure) {
    ProgressMeter meter({});
    Crew crew(meter, 2);
    const auto done = crew.Run([](unsigned worker) -> Expected<void> {
        if (worker == 1) throw std::bad_alloc();
        return {};
    });
    ASSERT_FALSE(done);
    EXPECT_THAT(done.error().message, testing::HasSubstr("memory"));
}

TEST(Crew, CallsBackOnTheImportingThread) {
    const auto here = std::this_thread::get_id();
    int calls = 0;
    ProgressMeter meter([&](const ImportProgress&) {
        EXPECT_EQ(std::this_thread::get_id(), here);
        return ++calls < 5;
    });
    Crew crew(meter, 3);
    const auto done = crew.Run([&](unsigned) -> Expected<void> {
        while (!crew.Stopping()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return {};
    });
    ASSERT_FALSE(done);
    EXPECT_EQ(done.error().code, ErrorCode::Cancelled);
    EXPECT_EQ(calls, 5);
}

}  // namespace
}  // namespace orvix::importer::test
