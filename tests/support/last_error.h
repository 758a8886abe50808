// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace orvix::test {

/// Sets what the system returns as the calling thread's last error.
void SetLastErrorCode(std::uint32_t code);

}  // namespace orvix::test
