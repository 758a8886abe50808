// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>

#include "parallel/pool.h"

namespace orvix::parallel {

/// What RunInOrder does with each job. A worker reuses one Job object, and its buffers.
template <class Job>
struct OrderedSteps {
    std::function<Expected<bool>(Job&)> take;    ///< one at a time; false: there are no more
    std::function<Expected<void>(Job&)> work;    ///< on every core
    std::function<Expected<void>(Job&)> commit;  ///< one at a time, in the order of `take`
    std::function<Expected<void>(Job&)> finish;  ///< on every core; may be empty
};

/// Lets threads through one at a time, in the order of their numbers.
class NumberedQueue {
public:
    explicit NumberedQueue(const Pool& pool) : pool_(pool) {}
    /// Waits until `number` is next; false when the pool is stopping.
    bool Await(std::uint64_t number);
    void Pass();

private:
    const Pool& pool_;
    std::mutex mutex_;
    std::condition_variable passed_;
    std::uint64_t next_ = 0;
};

/// Takes jobs in order, works on several at once, and commits them in order.
///
/// What is committed does not depend on the number of threads. As many jobs are in work as there
/// are threads.
///
///     OrderedSteps<Block> steps;
///     steps.take = ...; steps.work = ...; steps.commit = ...;
///     auto done = RunInOrder(pool, steps);
///
/// Errors  that of the earliest failing job.
template <class Job>
Expected<void> RunInOrder(Pool& pool, const OrderedSteps<Job>& steps) {
    NumberedQueue queue(pool);
    std::mutex taking;
    std::uint64_t taken = 0;
    bool ended = false;
    return pool.RunAll([&](unsigned) -> Expected<void> {
        Job job;
        for (;;) {
            Expected<bool> more = false;
            std::uint64_t number = 0;
            {
                const std::lock_guard<std::mutex> lock(taking);
                if (ended || pool.Stopping()) return {};
                number = taken++;
                more = steps.take(job);
                ended = !more || !*more;
            }
            if (more && !*more) return {};
            Expected<void> done;
            if (more) {
                done = steps.work(job);
            } else {
                done = ErrorOf(more);
            }
            if (!queue.Await(number)) return {};
            if (done) done = steps.commit(job);
            if (!done) return done;
            queue.Pass();
            if (steps.finish) done = steps.finish(job);
            if (!done) return done;
        }
    });
}

}  // namespace orvix::parallel
