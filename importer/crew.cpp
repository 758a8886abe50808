// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/crew.h"

#include <chrono>
#include <new>
#include <system_error>
#include <thread>
#include <vector>

namespace orvix::importer {
namespace {

constexpr auto kTick = std::chrono::milliseconds(40);
// How soon a worker that waits for its turn notices that the import stops.
constexpr auto kGlance = std::chrono::milliseconds(20);

/// Counts workers down; the importing thread waits for zero between its reports.
class Attendance {
public:
    explicit Attendance(unsigned present) : present_(present) {}
    void Leave() {
        const std::lock_guard<std::mutex> lock(mutex_);
        --present_;
        left_.notify_one();
    }
    bool AllLeftWithin(std::chrono::milliseconds time) {
        std::unique_lock<std::mutex> lock(mutex_);
        return left_.wait_for(lock, time, [&] { return present_ == 0; });
    }

private:
    std::mutex mutex_;
    std::condition_variable left_;
    unsigned present_;
};

Expected<void> Guarded(const std::function<Expected<void>(unsigned)>& body, unsigned worker) {
    try {
        return body(worker);
    } catch (const std::bad_alloc&) {
        return Fail(ErrorCode::Failure,
                    "the system refuses more memory; lower the memory limit or use fewer threads");
    }
}

}  // namespace

Expected<void> Crew::Run(const std::function<Expected<void>(unsigned)>& body) {
    return RunThreads(workers_, body);
}

Expected<void> Crew::RunOne(const std::function<Expected<void>()>& body) {
    return RunThreads(1, [&](unsigned) { return body(); });
}

Expected<void> Crew::RunThreads(unsigned count,
                                const std::function<Expected<void>(unsigned)>& body) {
    stopping_ = false;
    std::mutex failing;
    Expected<void> result;
    Attendance attendance(count);
    const auto run = [&](unsigned worker) {
        Expected<void> done = Guarded(body, worker);
        if (!done) {
            const std::lock_guard<std::mutex> lock(failing);
            if (result) result = std::move(done);
            Stop();
        }
        attendance.Leave();
    };
    std::vector<std::thread> threads;
    threads.reserve(count);
    for (unsigned worker = 0; worker < count; ++worker) {
        try {
            threads.emplace_back(run, worker);
        } catch (const std::system_error&) {
            // The others do the work; with none, it is done here, without reports meanwhile.
            if (threads.empty()) {
                run(worker);
            } else {
                attendance.Leave();
            }
        }
    }
    while (!attendance.AllLeftWithin(kTick)) meter_.Tick();
    for (std::thread& thread : threads) thread.join();
    meter_.Tick();
    if (!result) return result;
    if (meter_.Cancelled()) return Fail(ErrorCode::Cancelled, "the import was cancelled");
    return {};
}

bool Turnstile::Await(std::uint64_t number) {
    std::unique_lock<std::mutex> lock(mutex_);
    while (next_ != number) {
        if (crew_.Stopping()) return false;
        passed_.wait_for(lock, kGlance);
    }
    return !crew_.Stopping();
}

void Turnstile::Pass() {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++next_;
    passed_.notify_all();
}

}  // namespace orvix::importer
