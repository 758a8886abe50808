// SPDX-License-Identifier: GPL-3.0-or-later
// The bytes are one file of a project that is otherwise whole; the build names which.
#include "fuzz/small_project.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    orvix::fuzz::ReadWithFile(ORVIX_FUZZ_TARGET, data, size);
    return 0;
}
