// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/program.h"

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace orvix::platform {

std::vector<std::string> ProgramArguments(int argc, const char* const* argv) {
    return {argv, argv + argc};
}

// A reader that has gone shows as a failed write, and so does a file that grows beyond the limit of
// its user: neither must end an import half way. A stream that
// was closed before the start is taken up by a file without leave to write, so that no file of a
// project gets its number and, with it, the texts meant for people.
void PrepareStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(stream, F_GETFD) == -1) open("/dev/null", O_RDONLY);
    }
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

}  // namespace orvix::platform
