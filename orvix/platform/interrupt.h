// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace orvix::platform {

/// Watches for the user's Ctrl-C and the system's request to end. The first one sets a flag that
/// long work asks for and then ends in order; the second one ends the process at once.
///
///     WatchInterrupts();
///     while (work) if (Interrupted()) return Cancelled();
///
/// Threads  the flag may be read from any thread.
void WatchInterrupts();

bool Interrupted();

}  // namespace orvix::platform
