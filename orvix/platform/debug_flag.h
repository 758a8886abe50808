// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace orvix::detail {

/// The current user's "Debug" under "SOFTWARE\Orvix\Shared\Cache", read once while the library is
/// loaded. Nothing consults it; it is there for diagnostic builds.
extern const std::int32_t debugFlag;

}  // namespace orvix::detail
