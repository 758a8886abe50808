// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/program.h"

namespace orvix::platform {

std::vector<std::string> ProgramArguments(int argc, const char* const* argv) {
    return {argv, argv + argc};
}

void PrepareStandardStreams() {}

}  // namespace orvix::platform
