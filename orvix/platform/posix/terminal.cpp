// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/terminal.h"

#include <sys/ioctl.h>

#include <cstdlib>
#include <string_view>
#include <unistd.h>

namespace orvix::platform {

namespace {

int DescriptorOf(StandardStream stream) {
    return stream == StandardStream::Output ? STDOUT_FILENO : STDERR_FILENO;
}

}  // namespace

bool IsTerminal(StandardStream stream) {
    return ::isatty(DescriptorOf(stream)) == 1;
}

bool ObeysControls(StandardStream stream) {
    const char* const kind = std::getenv("TERM");
    return IsTerminal(stream) && kind != nullptr && *kind != 0 && std::string_view(kind) != "dumb";
}

int TerminalColumns(StandardStream stream) {
    winsize size{};
    const bool known = ::ioctl(DescriptorOf(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : 80;
}

}  // namespace orvix::platform
