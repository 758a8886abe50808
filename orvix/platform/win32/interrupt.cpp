// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/interrupt.h"

#include <windows.h>

#include <atomic>

namespace orvix::platform {

namespace {

constinit std::atomic<bool> interrupted{false};

/// Called on a thread of the system's; what it does not take ends the process.
BOOL WINAPI OnConsoleEvent(DWORD event) {
    const bool asked = event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
    return asked && !interrupted.exchange(true) ? TRUE : FALSE;
}

}  // namespace

void WatchInterrupts() {
    SetConsoleCtrlHandler(&OnConsoleEvent, TRUE);
}

bool Interrupted() {
    return interrupted.load(std::memory_order_relaxed);
}

}  // namespace orvix::platform
