// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/work_team.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <new>
#include <thread>
#include <vector>

namespace orvix::detection {
namespace {

/// What the threads of one run share.
class Shift {
public:
    Shift(std::size_t jobs, const WorkTeam::Job& job) : jobs_(jobs), job_(job) {}

    bool Take(std::size_t& number) {
        if (stop_.load(std::memory_order_relaxed)) return false;
        number = next_.fetch_add(1, std::memory_order_relaxed);
        return number < jobs_;
    }
    void Do(std::size_t number, unsigned worker) {
        Expected<void> done;
        try {
            done = job_(number, worker);
        } catch (const std::bad_alloc&) {
            done =
                Fail(ErrorCode::Failure, "the system refuses more memory; lower the memory limit");
        } catch (const std::exception& fault) {
            done = Fail(ErrorCode::Failure, fault.what());
        }
        if (!done) FailWith(number, std::move(done));
    }
    void FailWith(std::size_t number, Expected<void> failure) {
        const std::lock_guard<std::mutex> lock(failing_);
        if (result_ || number < failed_) {
            result_ = std::move(failure);
            failed_ = number;
        }
        stop_ = true;
    }
    Expected<void> Result() { return std::move(result_); }

private:
    std::size_t jobs_;
    const WorkTeam::Job& job_;
    std::atomic<std::size_t> next_{0};
    std::atomic<bool> stop_{false};
    std::mutex failing_;
    Expected<void> result_;
    std::size_t failed_ = 0;
};

}  // namespace

WorkTeam::WorkTeam(unsigned threads, std::function<bool()> proceed)
    : threads_(threads != 0 ? threads : std::max(1U, std::thread::hardware_concurrency())),
      proceed_(std::move(proceed)) {}

Expected<void> WorkTeam::Run(std::size_t jobs, const Job& job) const {
    Shift shift(jobs, job);
    const auto helpers = std::min<std::size_t>(threads_, jobs);
    std::vector<std::thread> threads;
    threads.reserve(helpers);
    for (std::size_t worker = 1; worker < helpers; ++worker) {
        try {
            threads.emplace_back([&shift, worker] {
                for (std::size_t number = 0; shift.Take(number);)
                    shift.Do(number, static_cast<unsigned>(worker));
            });
        } catch (const std::exception&) {
            break;  // the others do the work
        }
    }
    for (std::size_t number = 0; shift.Take(number);) {
        if (Proceed()) {
            shift.Do(number, 0);
        } else {
            shift.FailWith(0, Fail(ErrorCode::Cancelled, "the search for planes was cancelled"));
        }
    }
    for (std::thread& thread : threads) thread.join();
    return shift.Result();
}

}  // namespace orvix::detection
