// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/win32/exact_fma.h"

namespace {

__attribute__((target("fma"))) double FmaByInstruction(double x, double y, double z) {
    return __builtin_fma(x, y, z);
}

bool HasInstruction() {
    __builtin_cpu_init();
    return __builtin_cpu_supports("fma") != 0;
}

}  // namespace

/// The C library's function, linked before the library's own (exact_fma.h says why).
extern "C" double fma(double x, double y, double z) {
    static constinit signed char known = -1;
    if (known < 0) known = HasInstruction() ? 1 : 0;
    return known != 0 ? FmaByInstruction(x, y, z) : orvix::platform::detail::ExactFma(x, y, z);
}
