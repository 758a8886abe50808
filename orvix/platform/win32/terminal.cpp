// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/terminal.h"

#include <windows.h>

namespace orvix::platform {

namespace {

HANDLE HandleOf(StandardStream stream) {
    return GetStdHandle(stream == StandardStream::Output ? STD_OUTPUT_HANDLE : STD_ERROR_HANDLE);
}

}  // namespace

bool IsTerminal(StandardStream stream) {
    DWORD mode = 0;
    return GetConsoleMode(HandleOf(stream), &mode) != FALSE;
}

bool ObeysControls(StandardStream stream) {
    DWORD mode = 0;
    return GetConsoleMode(HandleOf(stream), &mode) != FALSE &&
           (mode & ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

int TerminalColumns(StandardStream stream) {
    CONSOLE_SCREEN_BUFFER_INFO screen{};
    const bool known = GetConsoleScreenBufferInfo(HandleOf(stream), &screen) != FALSE;
    const int columns = screen.srWindow.Right - screen.srWindow.Left + 1;
    return known && columns > 0 ? columns : 80;
}

}  // namespace orvix::platform
