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

// A signal that is ignored at the start stays so: nohup and a shell's background jobs ask for it.
void WatchInterrupts() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        if (std::signal(signal, OrvixOnSignal) == SIG_IGN) std::signal(signal, SIG_IGN);
    }
}

bool Interrupted() {
    return interrupted.load(std::memory_order_relaxed);
}

}  // namespace orvix::platform
