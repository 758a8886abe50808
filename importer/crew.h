// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>

#include "importer/progress_meter.h"
#include "orvix/platform/error.h"

namespace orvix::importer {

/// Runs work on threads of its own while the importing thread reports progress.
///
///     crew.Run([&](unsigned worker) -> Expected<void> { while (!crew.Stopping()) ...; return {};
///     });
///
/// Errors   the first failure, or Cancelled; the others are asked to stop. Running out of memory
///          on a worker is a failure, not an exception.
/// Threads  `Run` on the importing thread only; `Stopping` and `Stop` anywhere.
/// Cost     as many threads a call as there are workers; the callback comes every 40 ms.
class Crew {
public:
    Crew(ProgressMeter& meter, unsigned workers) : meter_(meter), workers_(workers) {}

    Expected<void> Run(const std::function<Expected<void>(unsigned worker)>& body);
    /// `body` on one worker alone: work that blocks, such as waiting for a disk.
    Expected<void> RunOne(const std::function<Expected<void>()>& body);

    [[nodiscard]] unsigned Workers() const { return workers_; }
    [[nodiscard]] ProgressMeter& Meter() const { return meter_; }
    /// Whether work in progress should end soon.
    [[nodiscard]] bool Stopping() const {
        return stopping_.load(std::memory_order_relaxed) || meter_.Cancelled();
    }
    void Stop() { stopping_.store(true, std::memory_order_relaxed); }

private:
    Expected<void> RunThreads(unsigned count, const std::function<Expected<void>(unsigned)>& body);

    ProgressMeter& meter_;
    unsigned workers_;
    std::atomic<bool> stopping_{false};
};

/// What RunInOrder does with each job. A worker reuses one Job object, and its buffers.
template <class Job>
struct OrderedSteps {
    std::function<Expected<bool>(Job&)> take;    ///< one at a time; false: there are no more
    std::function<Expected<void>(Job&)> work;    ///< on every core
    std::function<Expected<void>(Job&)> commit;  ///< one at a time, in the order of `take`
    std::function<Expected<void>(Job&)> finish;  ///< on every core; may be empty
};

/// Lets workers through one at a time, in the order of their numbers.
class Turnstile {
public:
    explicit Turnstile(const Crew& crew) : crew_(crew) {}
    /// Waits for `number`'s turn; false when the crew is stopping.
    bool Await(std::uint64_t number);
    void Pass();

private:
    const Crew& crew_;
    std::mutex mutex_;
    std::condition_variable passed_;
    std::uint64_t next_ = 0;
};

/// Takes jobs in order, works on them at once, and commits them in order: what is committed does
/// not depend on the number of threads. As many jobs are under way as there are workers.
///
/// Errors  that of the earliest failing job.
template <class Job>
Expected<void> RunInOrder(Crew& crew, const OrderedSteps<Job>& steps) {
    Turnstile turnstile(crew);
    std::mutex taking;
    std::uint64_t taken = 0;
    bool ended = false;
    return crew.Run([&](unsigned) -> Expected<void> {
        Job job;
        for (;;) {
            Expected<bool> more = false;
            std::uint64_t number = 0;
            {
                const std::lock_guard<std::mutex> lock(taking);
                if (ended || crew.Stopping()) return {};
                number = taken++;
                more = steps.take(job);
                ended = !more || !*more;
            }
            if (more && !*more) return {};
            Expected<void> done;
            if (more) {
                done = steps.work(job);
            } else {
                done = tl::unexpected<Error>(more.error());
            }
            if (!turnstile.Await(number)) return {};
            if (done) done = steps.commit(job);
            if (!done) return done;
            turnstile.Pass();
            if (steps.finish) done = steps.finish(job);
            if (!done) return done;
        }
    });
}

}  // namespace orvix::importer
