// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/last_error.h"

#include <windows.h>

namespace orvix::test {

void SetLastErrorCode(std::uint32_t code) {
    SetLastError(code);
}

}  // namespace orvix::test
