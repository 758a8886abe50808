// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace orvix::platform::detail {

/// x * y + z, rounded once, in the rounding mode that SSE arithmetic is in. Integers alone, for
/// processors without the instruction.
///
/// mingw-w64's own `fma` rounds twice: in about a quarter of ordinary cases its last digit differs
/// from other systems', and with it every triangulation that an intersection enters. fma.cpp puts
/// this one, or the instruction, in its place.
///
/// Boundaries as IEEE 754 says for infinities, NaN, zeros, overflow and subnormal results; no
///            exception flags are raised for an inexact result.
/// Cost       about 15 ns.
double ExactFma(double x, double y, double z);

}  // namespace orvix::platform::detail
