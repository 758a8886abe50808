// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "orvix/points/records.h"

namespace orvix::detail {

/// Room for `count` more records, without filling it; at least doubled when it has to grow.
inline void Reserve(std::vector<CCloudPoint<float>>& out, std::size_t count) {
    if (out.capacity() - out.size() >= count) return;
    out.reserve(std::max(out.size() + count, out.capacity() * 2));
}

/// Appends `count` records to `out` as one block copy, writing each byte of it once and
/// growing `out` geometrically, so that many appends stay linear.
///
/// Boundaries `records` must not lie in `out`.
/// Errors     the vector's own, when memory runs out; `out` then keeps what it held.
/// Cost       that of memcpy. It stands in a source of its own because a compiler recognises the
///            copy as one block while it still knows that the two never overlap, which it forgets
///            on inlining.
void AppendRecords(std::vector<CCloudPoint<float>>& out, const CCloudPoint<float>* records,
                   std::size_t count);

}  // namespace orvix::detail
