// SPDX-License-Identifier: GPL-3.0-or-later
#include "parallel/run_in_order.h"

#include <chrono>

namespace orvix::parallel {
namespace {

// How soon a thread that waits for its turn notices that the work stops.
constexpr auto kStopCheckInterval = std::chrono::milliseconds(20);

}  // namespace

bool NumberedQueue::Await(std::uint64_t number) {
    std::unique_lock<std::mutex> lock(mutex_);
    while (next_ != number) {
        if (pool_.Stopping()) return false;
        passed_.wait_for(lock, kStopCheckInterval);
    }
    return !pool_.Stopping();
}

void NumberedQueue::Pass() {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++next_;
    passed_.notify_all();
}

}  // namespace orvix::parallel
