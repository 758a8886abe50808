// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <limits>

/// Real numbers made integers, for every number there is.
///
/// A plain cast is undefined for a number that the integer cannot hold, and compilers take their
/// liberty. The rules differ in what such a number becomes, and in the direction of rounding:
///
///                          1.75    -1.75   too large   too small   not-a-number
///     TruncateTo              1       -1    smallest    smallest       smallest
///     SaturateTo              1       -1     largest    smallest              0
///     FloorWithin(bound)      1       -2       bound      -bound         -bound
///     FloorTo                 1       -2   the caller's mistake
///
/// Threads  no state.
namespace orvix::detail {

/// Toward zero; what does not fit becomes the smallest integer, as the processor's own conversion
/// has it.
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

/// Toward zero; what does not fit becomes the nearest integer there is, and not-a-number 0.
///
///     SaturateTo<std::int32_t>(3e9)     // 2147483647
template <class Integer>
constexpr Integer SaturateTo(double value) {
    using Limits = std::numeric_limits<Integer>;
    if (value >= static_cast<double>(Limits::max())) return Limits::max();
    if (value <= static_cast<double>(Limits::min())) return Limits::min();
    return value == value ? static_cast<Integer>(value) : 0;
}

/// Downward, without a call into the maths library. Precondition: the integer part of `value` fits.
template <class Integer>
constexpr Integer FloorTo(double value) {
    const auto truncated = static_cast<Integer>(value);
    return truncated - static_cast<Integer>(value < static_cast<double>(truncated));
}

/// Downward, and not beyond `bound` on either side. Precondition: `bound` is not below 0 and is a
/// double as well.
constexpr std::int64_t FloorWithin(double value, std::int64_t bound) {
    const auto most = static_cast<double>(bound);
    if (!(value > -most)) return -bound;
    return value < most ? FloorTo<std::int64_t>(value) : bound;
}

}  // namespace orvix::detail
