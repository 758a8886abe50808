// SPDX-License-Identifier: GPL-3.0-or-later
#include "parallel/pool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace orvix::parallel::test {
namespace {

TEST(PoolJobs, AreDoneOnceEach) {
    for (const unsigned threads : {1U, 2U, 7U}) {
        std::vector<std::atomic<int>> done(1000);
        const Pool pool(threads, {}, "");
        const auto result = pool.RunJobs(done.size(), [&](std::size_t job, unsigned worker) {
            EXPECT_LT(worker, threads);
            ++done[job];
            return Expected<void>{};
        });
        EXPECT_TRUE(result);
        for (const auto& times : done) EXPECT_EQ(times, 1);
    }
}

TEST(PoolJobs, StartNoFurtherAfterAFailure) {
    std::atomic<int> started{0};
    const auto result =
        Pool(1, {}, "").RunJobs(100, [&](std::size_t job, unsigned) -> Expected<void> {
            ++started;
            if (job == 3) return Fail(ErrorCode::Damaged, "job " + std::to_string(job));
            return {};
        });
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().message, "job 3");
    EXPECT_EQ(started, 4);
}

TEST(PoolJobs, AreCancelledInBetween) {
    int asked = 0;
    const Pool pool(
        1, [&asked] { return ++asked < 5; }, "the search was cancelled");
    int done = 0;
    const auto result = pool.RunJobs(100, [&](std::size_t, unsigned) {
        ++done;
        return Expected<void>{};
    });
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().code, ErrorCode::Cancelled);
    EXPECT_EQ(result.error().message, "the search was cancelled");
    EXPECT_EQ(done, 4);
}

TEST(Pool, TurnsExhaustedMemoryIntoAnError) {
    Pool pool(2, {}, "");
    const auto jobs =
        pool.RunJobs(4, [](std::size_t, unsigned) -> Expected<void> { throw std::bad_alloc(); });
    const auto all = pool.RunAll([](unsigned worker) -> Expected<void> {
        if (worker == 1) throw std::bad_alloc();
        return {};
    });
    for (const auto& done : {jobs, all}) {
        ASSERT_FALSE(done);
        EXPECT_EQ(done.error().code, ErrorCode::NoMemory);
        EXPECT_THAT(done.error().message, testing::HasSubstr("memory"));
    }
}

// A tick that throws would otherwise leave threads behind that nobody has joined.
TEST(Pool, LetsThroughWhatATickThrowsOnceAllThreadsHaveEnded) {
    std::atomic<int> under{0};
    int ticks = 0;
    const auto tick = [&]() -> bool {
        if (++ticks > 3) throw std::runtime_error("thrown");
        return true;
    };
    Pool pool(3, tick, "");
    const auto briefly = [&] {
        ++under;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        --under;
    };
    EXPECT_THROW((void)pool.RunJobs(1000,
                                    [&](std::size_t, unsigned) -> Expected<void> {
                                        briefly();
                                        return {};
                                    }),
                 std::runtime_error);
    EXPECT_EQ(under, 0);
    ticks = 0;
    EXPECT_THROW((void)pool.RunAll([&](unsigned) -> Expected<void> {
        while (!pool.Stopping()) briefly();
        return {};
    }),
                 std::runtime_error);
    EXPECT_EQ(under, 0);
}

// One thread is the caller's: no other is started.
TEST(PoolJobs, OfOneThreadRunOnTheCallingOne) {
    const auto here = std::this_thread::get_id();
    const auto result = Pool(1, {}, "").RunJobs(50, [&](std::size_t, unsigned) -> Expected<void> {
        EXPECT_EQ(std::this_thread::get_id(), here);
        return {};
    });
    EXPECT_TRUE(result);
}

TEST(Pool, TicksOnTheCallingThreadUntilToldToStop) {
    const auto here = std::this_thread::get_id();
    int calls = 0;
    const auto tick = [&] {
        EXPECT_EQ(std::this_thread::get_id(), here);
        return ++calls < 5;
    };
    Pool pool(3, tick, "the import was cancelled");
    const auto done = pool.RunAll([&](unsigned) -> Expected<void> {
        while (!pool.Stopping()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return {};
    });
    ASSERT_FALSE(done);
    EXPECT_EQ(done.error().code, ErrorCode::Cancelled);
    EXPECT_GE(calls, 5);
}

TEST(Pool, StartsNothingOnceCancelled) {
    Pool pool(
        2, [] { return false; }, "the import was cancelled");
    const auto done = pool.RunOne([]() -> Expected<void> {
        ADD_FAILURE() << "it was started";
        return {};
    });
    ASSERT_FALSE(done);
    EXPECT_EQ(done.error().code, ErrorCode::Cancelled);
}

}  // namespace
}  // namespace orvix::parallel::test
