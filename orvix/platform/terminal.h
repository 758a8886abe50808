// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace orvix::platform {

enum class StandardStream { Output, Error };

/// Whether a person watches the stream: it is a terminal, not a file or a pipe.
bool IsTerminal(StandardStream stream);

/// Whether that terminal obeys the sequences that move its cursor and clear its line.
bool ObeysControls(StandardStream stream);

/// Characters in a line of that terminal; 80 where the system does not say.
int TerminalColumns(StandardStream stream);

}  // namespace orvix::platform
