// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "orvix/platform/error.h"

namespace orvix::parallel {

/// Called on the calling thread while there is work; false asks all work to stop.
using Tick = std::function<bool()>;

/// Runs work on threads of its own: one body on every thread, or numbered jobs in any order.
/// For jobs whose results must follow one another, see parallel/run_in_order.h.
///
///     Pool pool(threads, [&] { return progress.Report(); }, "the import was cancelled");
///     auto done = pool.RunJobs(chunks.size(), [&](std::size_t job, unsigned worker) { ... });
///
/// Order    which thread takes which job is left to chance: a job writes to places of its own
///          number only, and what is summed over jobs is summed in their order afterwards.
/// Errors   a failure asks the other threads to stop. Running out of memory in a job is NoMemory,
///          not an exception. Cancelled, once `tick` returned false. What `tick` throws leaves the
///          call when all threads have ended.
/// Threads  `tick` is called on the calling thread alone. `Stopping` and `Stop` anywhere.
/// Cost     each call starts as many threads as the pool has; they end with the call.
class Pool {
public:
    using Body = std::function<Expected<void>(unsigned worker)>;
    using Job = std::function<Expected<void>(std::size_t job, unsigned worker)>;

    /// `threads` 0 stands for every core; `tick` may be empty; `cancelled` is the sentence of the
    /// error Cancelled.
    Pool(unsigned threads, Tick tick, std::string cancelled);

    [[nodiscard]] unsigned Threads() const { return threads_; }

    /// `body` on every thread; the calling thread only ticks, every 40 ms. Errors: the first.
    Expected<void> RunAll(const Body& body);
    /// `body` on one thread alone: work that blocks, such as waiting for a disk.
    Expected<void> RunOne(const std::function<Expected<void>()>& body);
    /// Whether the work of RunAll or RunOne should end soon.
    [[nodiscard]] bool Stopping() const {
        return stopping_.load(std::memory_order_relaxed) ||
               cancelled_.load(std::memory_order_relaxed);
    }
    void Stop() { stopping_.store(true, std::memory_order_relaxed); }

    /// Jobs 0 to `jobs` - 1, on every thread, the calling one among them, which ticks before each
    /// of its jobs. Errors: that of the failing job with the lowest number among those that ran.
    Expected<void> RunJobs(std::size_t jobs, const Job& job) const;
    /// How many jobs RunJobs has done so far, in all its calls.
    [[nodiscard]] std::uint64_t JobsDone() const {
        return jobsDone_.load(std::memory_order_relaxed);
    }
    /// Ticks; for long stretches of work on the calling thread.
    [[nodiscard]] bool Proceed() const { return !tick_ || tick_(); }

private:
    class Ticker;

    Expected<void> RunThreads(unsigned count, const Body& body);
    [[nodiscard]] tl::unexpected<Error> Cancelled() const;

    unsigned threads_;
    Tick tick_;
    std::string cancelledText_;
    std::atomic<bool> stopping_{false};
    std::atomic<bool> cancelled_{false};
    mutable std::atomic<std::uint64_t> jobsDone_{0};
};

}  // namespace orvix::parallel
