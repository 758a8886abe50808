// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace orvix::detail {

/// Two numbers that go through the same operations at once, which every x86-64 and every 64-bit ARM
/// processor can do; each result is that of the operation on its own.
///
///     const Pair xy{p.x, p.y};
///     sum += xy * xy;             // sum[0], sum[1]
///     min = xy < min ? xy : min;  // each of its own
using Pair = double __attribute__((vector_size(16)));

}  // namespace orvix::detail
