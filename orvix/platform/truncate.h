// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <limits>

namespace orvix::detail {

/// The integer part of a number, toward zero, for every number there is: one that the integer
/// cannot hold, an infinity and NaN give the smallest integer, as the processor's own conversion
/// does. The plain cast is undefined there, and compilers take their liberty.
///
///     TruncateTo<std::int32_t>(-2.75)   // -2
///     TruncateTo<std::int32_t>(3e9f)    // -2147483648
template <class Integer, class Real>
constexpr Integer TruncateTo(Real value) {
    // -2^31 and -2^63 are numbers of either precision; their opposites are the first that are too
    // large. Just below -2^31 a double still truncates to it, and to what any misfit gives.
    constexpr Real kLowest = static_cast<Real>(std::numeric_limits<Integer>::min());
    if (value >= kLowest && value < -kLowest) return static_cast<Integer>(value);
    return std::numeric_limits<Integer>::min();
}

}  // namespace orvix::detail
