// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

#include "orvix/gpu/section.h"
#include "orvix/points/records.h"

namespace orvix::detail {

/// What a call of RevitAMP speaks of: all points, or those of lists, list after list.
struct SectionEntries {
    SectionPoints points;
    std::vector<std::span<const std::uint64_t>> lists;
    bool listed = false;

    [[nodiscard]] std::uint64_t Count() const {
        if (!listed) return points.count;
        std::uint64_t count = 0;
        for (const auto& list : lists) count += list.size();
        return count;
    }
};

inline SimplePointT<float> PointAt(const SectionPoints& points, std::uint64_t i) {
    SimplePointT<float> point;
    std::memcpy(&point, static_cast<const std::byte*>(points.data) + i * points.stride,
                sizeof point);
    return point;
}

/// A stretch of points.
inline SectionPoints Stretch(const SectionPoints& points, std::uint64_t first,
                             std::uint64_t count) {
    return {static_cast<const std::byte*>(points.data) + first * points.stride, count,
            points.stride};
}

/// Calls use(indices, first) for the lists' stretches of up to `most` indices; `first` counts the
/// entries before.
template <class Use>
void ForEachListed(const SectionEntries& entries, std::uint64_t most, const Use& use) {
    std::uint64_t first = 0;
    for (const auto& list : entries.lists) {
        for (std::uint64_t at = 0; at < list.size(); at += most) {
            use(list.subspan(at, std::min<std::uint64_t>(most, list.size() - at)), first + at);
        }
        first += list.size();
    }
}

/// Calls use(k) for the entries of one class, in order.
///
/// Cost  eight entries a step where none is of the class.
template <class Use>
void ForEachOfClass(std::span<const SectionClass> classes, SectionClass wanted, const Use& use) {
    constexpr std::uint64_t kOnes = 0x0101010101010101;
    const std::uint64_t pattern = kOnes * static_cast<std::uint8_t>(wanted);
    std::size_t k = 0;
    for (; classes.size() - k >= 8; k += 8) {
        std::uint64_t word = 0;
        std::memcpy(&word, classes.data() + k, sizeof word);
        word ^= pattern;  // a zero byte where the class is the wanted one; others are below 8
        std::uint64_t hits = ((word | (word >> 1) | (word >> 2)) & kOnes) ^ kOnes;
        for (; hits != 0; hits &= hits - 1) use(k + std::countr_zero(hits) / 8);
    }
    for (; k < classes.size(); ++k) {
        if (classes[k] == wanted) use(k);
    }
}

}  // namespace orvix::detail
