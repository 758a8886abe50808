// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

namespace orvix::importer::laz {

/// The middle of the last numbers of a series: five are kept, in order.
///
/// Each new number pushes one out: the largest while new ones fall below the middle, else the
/// smallest.
class RunningMedian {
public:
    [[nodiscard]] std::int32_t Middle() const { return kept_[2]; }
    void Add(std::int32_t v) {
        const bool below = dropMin_ ? v <= kept_[2] : v < kept_[2];
        const std::int32_t* stay = kept_.data() + (dropMin_ ? 1 : 0);
        const std::array<std::int32_t, 4> a{stay[0], stay[1], stay[2], stay[3]};
        kept_ = {std::min(a[0], v), std::min(a[1], std::max(a[0], v)),
                 std::min(a[2], std::max(a[1], v)), std::min(a[3], std::max(a[2], v)),
                 std::max(a[3], v)};
        dropMin_ = !below;
    }

private:
    std::array<std::int32_t, 5> kept_{};
    bool dropMin_ = false;
};

/// a + b modulo 2^32.
inline std::int32_t WrappingSum(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

/// a * b modulo 2^32.
inline std::int32_t WrappingProduct(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b));
}

/// The context of a coordinate: whether the pulse has a single return, and how large the
/// coordinates before it were, in steps of two up to `max`.
inline std::uint32_t MagnitudeContext(std::uint32_t magnitude, std::uint32_t max, bool single) {
    return (std::min(magnitude, max) & ~1u) | (single ? 1u : 0u);
}

}  // namespace orvix::importer::laz
