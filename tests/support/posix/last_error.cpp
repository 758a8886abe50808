// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/last_error.h"

#include <cerrno>

namespace orvix::test {

void SetLastErrorCode(std::uint32_t code) {
    errno = static_cast<int>(code);
}

}  // namespace orvix::test
