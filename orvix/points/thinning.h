// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cstdint>

namespace orvix::detail {

/// The smallest k of which every k-th of `count` things, from the first, is at most `max` of them.
///
///     for (std::uint64_t i = 0; i < count; i += StrideFor(count, 2'000'000)) Draw(i);
///
/// Boundaries at least 1. `max` is above 0.
constexpr std::uint64_t StrideFor(std::uint64_t count, std::uint64_t max) {
    return std::max<std::uint64_t>(1, (count + max - 1) / max);
}

}  // namespace orvix::detail
