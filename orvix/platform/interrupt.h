// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace orvix::platform {

/// Watches for the user's Ctrl-C, the system's request to end, and (on Linux) the end of the
/// terminal. The first one sets a flag that long work asks for and then ends in order; the second
/// one ends the process at once. A signal that the process was started to ignore stays ignored.
///
///     WatchInterrupts();
///     while (work) if (Interrupted()) return Cancelled();
///
/// Threads  the flag may be read from any thread.
void WatchInterrupts();

bool Interrupted();

}  // namespace orvix::platform
