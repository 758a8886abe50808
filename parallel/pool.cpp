// SPDX-License-Identifier: GPL-3.0-or-later
#include "parallel/pool.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <new>
#include <thread>
#include <utility>
#include <vector>

namespace orvix::parallel {
namespace {

constexpr auto kTickInterval = std::chrono::milliseconds(40);

/// The threads that are still at work; the calling thread waits for none between its ticks.
class RunningThreads {
public:
    explicit RunningThreads(unsigned count) : count_(count) {}
    void Leave() {
        const std::lock_guard<std::mutex> lock(mutex_);
        --count_;
        left_.notify_one();
    }
    bool EndWithin(std::chrono::milliseconds time) {
        std::unique_lock<std::mutex> lock(mutex_);
        return left_.wait_for(lock, time, [&] { return count_ == 0; });
    }

private:
    std::mutex mutex_;
    std::condition_variable left_;
    unsigned count_;
};

/// The failure to report: of the lowest number, the first of equal ones.
class FirstFailure {
public:
    void Add(std::size_t number, Expected<void> failure) {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (!result_ && number >= number_) return;
        result_ = std::move(failure);
        number_ = number;
    }
    Expected<void> Take() { return std::move(result_); }

private:
    std::mutex mutex_;
    Expected<void> result_;
    std::size_t number_ = 0;
};

// Where not even a sentence can be kept, the words are few enough to need no memory.
Expected<void> OutOfMemory() {
    try {
        return Fail(ErrorCode::NoMemory,
                    "the system refuses more memory; lower the memory limit or use fewer threads");
    } catch (const std::bad_alloc&) {
        return Fail(ErrorCode::NoMemory, "memory ran out");
    }
}

template <class Work>
Expected<void> Guarded(const Work& work) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return OutOfMemory();
    } catch (const std::exception& fault) {
        return Fail(ErrorCode::Failure, fault.what());
    }
}

/// Starts `run(worker)` on a thread; false where the system gives none.
template <class Run>
bool StartThread(std::vector<std::thread>& threads, const Run& run, unsigned worker) {
    try {
        threads.emplace_back(run, worker);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace

/// Ticks while threads are at work, and keeps what the tick throws until they have ended.
class Pool::Ticker {
public:
    explicit Ticker(const Pool& pool) : pool_(pool) {}
    bool Proceed() {
        try {
            if (!thrown_) return pool_.Proceed();
        } catch (...) {
            thrown_ = std::current_exception();
        }
        return false;
    }
    void Rethrow() const {
        if (thrown_) std::rethrow_exception(thrown_);
    }

private:
    const Pool& pool_;
    std::exception_ptr thrown_;
};

Pool::Pool(unsigned threads, Tick tick, std::string cancelled)
    : threads_(threads != 0 ? threads : std::max(1U, std::thread::hardware_concurrency())),
      tick_(std::move(tick)),
      cancelledText_(std::move(cancelled)) {}

tl::unexpected<Error> Pool::Cancelled() const {
    return Fail(ErrorCode::Cancelled, cancelledText_);
}

Expected<void> Pool::RunAll(const Body& body) {
    return RunThreads(threads_, body);
}

Expected<void> Pool::RunOne(const std::function<Expected<void>()>& body) {
    return RunThreads(1, [&](unsigned) { return body(); });
}

Expected<void> Pool::RunThreads(unsigned count, const Body& body) {
    stopping_ = false;
    Ticker ticker(*this);
    const auto tick = [&] {
        if (!ticker.Proceed()) cancelled_ = true;
    };
    tick();
    ticker.Rethrow();
    if (cancelled_) return Cancelled();
    FirstFailure failure;
    RunningThreads running(count);
    const auto run = [&](unsigned worker) {
        if (Expected<void> done = Guarded([&] { return body(worker); }); !done) {
            failure.Add(0, std::move(done));
            Stop();
        }
        running.Leave();
    };
    std::vector<std::thread> threads;
    threads.reserve(count);
    for (unsigned worker = 0; worker < count; ++worker) {
        if (StartThread(threads, run, worker)) continue;
        // The others do the work; with none, it is done here, without ticks meanwhile.
        if (threads.empty()) {
            run(worker);
        } else {
            running.Leave();
        }
    }
    while (!running.EndWithin(kTickInterval)) tick();
    for (std::thread& thread : threads) thread.join();
    tick();
    ticker.Rethrow();
    if (Expected<void> result = failure.Take(); !result) return result;
    if (cancelled_) return Cancelled();
    return {};
}

Expected<void> Pool::RunJobs(std::size_t jobs, const Job& job) const {
    std::atomic<std::size_t> next{0};
    std::atomic<bool> stop{false};
    FirstFailure failure;
    const auto fail = [&](std::size_t number, Expected<void> done) {
        failure.Add(number, std::move(done));
        stop = true;
    };
    const auto take = [&](std::size_t& number) {
        if (stop.load(std::memory_order_relaxed)) return false;
        number = next.fetch_add(1, std::memory_order_relaxed);
        return number < jobs;
    };
    const auto perform = [&](std::size_t number, unsigned worker) {
        if (auto done = Guarded([&] { return job(number, worker); }); !done)
            fail(number, std::move(done));
        jobsDone_.fetch_add(1, std::memory_order_relaxed);
    };
    const auto helpers = static_cast<unsigned>(std::min<std::size_t>(threads_, jobs));
    std::vector<std::thread> threads;
    threads.reserve(helpers);
    const auto help = [&](unsigned worker) {
        for (std::size_t number = 0; take(number);) perform(number, worker);
    };
    for (unsigned worker = 1; worker < helpers; ++worker) {
        if (!StartThread(threads, help, worker)) break;  // the others do the work
    }
    Ticker ticker(*this);
    for (std::size_t number = 0; take(number);) {
        if (ticker.Proceed()) {
            perform(number, 0);
        } else {
            fail(0, Cancelled());
        }
    }
    for (std::thread& thread : threads) thread.join();
    ticker.Rethrow();
    return failure.Take();
}

}  // namespace orvix::parallel
