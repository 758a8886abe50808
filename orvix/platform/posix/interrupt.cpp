// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/interrupt.h"

#include <atomic>
#include <csignal>

namespace orvix::platform {

namespace {

std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may only touch such flags");

}  // namespace

extern "C" {
static void OrvixOnSignal(int signal) {
    interrupted.store(true);
    std::signal(signal, SIG_DFL);
}
}

void WatchInterrupts() {
    std::signal(SIGINT, OrvixOnSignal);
    std::signal(SIGTERM, OrvixOnSignal);
}

bool Interrupted() {
    return interrupted.load(std::memory_order_relaxed);
}

}  // namespace orvix::platform
