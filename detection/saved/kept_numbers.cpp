// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/saved/kept_numbers.h"

#include <algorithm>
#include <tuple>

#include "orvix/project/saved/saved_plane.h"

namespace orvix::detection {

void KeptNumbers::Count(std::span<const std::int32_t> before, std::span<const std::int32_t> now) {
    const std::size_t points = std::min(before.size(), now.size());
    for (std::size_t first = 0; first < points;) {
        std::size_t last = first + 1;
        while (last < points && before[last] == before[first] && now[last] == now[first]) ++last;
        if (before[first] >= 0 && now[first] >= 0)
            shared_[{before[first], now[first]}] += last - first;
        first = last;
    }
}

// BEHAVIOUR A12
Expected<std::vector<std::uint32_t>> KeptNumbers::Numbers(std::span<const std::uint64_t> points) {
    struct Pair {
        std::uint64_t shared;
        std::uint32_t number;
        std::size_t before;
        std::size_t now;
    };
    std::vector<Pair> pairs;
    for (const auto& [places, shared] : shared_) {
        const auto before = static_cast<std::size_t>(places.first);
        const auto now = static_cast<std::size_t>(places.second);
        if (shared >= std::min(before_[before].points, points[now]) - shared)
            pairs.push_back({shared, before_[before].number, before, now});
    }
    std::sort(pairs.begin(), pairs.end(), [](const Pair& a, const Pair& b) {
        return std::tie(b.shared, a.number, a.now) < std::tie(a.shared, b.number, b.now);
    });
    std::vector<std::uint32_t> numbers(points.size(), 0);
    std::vector<bool> given(before_.size(), false);
    for (const Pair& pair : pairs) {
        if (given[pair.before] || numbers[pair.now] != 0) continue;
        given[pair.before] = true;
        numbers[pair.now] = pair.number;
        ++kept_;
    }
    for (std::uint32_t& number : numbers) {
        if (number != 0) continue;
        if (nextNumber_ > detail::kMaxPlaneNumber)
            return Fail(ErrorCode::BadInput,
                        "the project's planes have had 2,147,483,647 numbers; remove its saved "
                        "planes to begin anew");
        number = static_cast<std::uint32_t>(nextNumber_++);
    }
    return numbers;
}

}  // namespace orvix::detection
