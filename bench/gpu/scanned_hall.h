// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "orvix/points/records.h"
#include "support/dice.h"

namespace orvix::bench {

/// Points on the six faces of a hall of 40 m x 25 m x 8 m and on two walls in it, with a noise of 2 mm,
/// in random order.
inline std::vector<SimplePointT<float>> ScannedHall(std::uint64_t count) {
    std::uint64_t state = 11;
    test::Dice dice(state);
    constexpr double kSize[3] = {40, 25, 8};
    std::vector<SimplePointT<float>> points(count);
    for (auto& point : points) {
        double at[3] = {kSize[0] * dice.Share(), kSize[1] * dice.Share(), kSize[2] * dice.Share()};
        const int face = static_cast<int>(dice.Share() * 8);
        const int axis = face < 6 ? face / 2 : 0;
        const double level = face < 6 ? face % 2 * kSize[axis] : 12.0 + 14.0 * (face - 6);
        at[axis] = level + 0.002 * dice.Normal();
        point = {static_cast<float>(at[0]), static_cast<float>(at[1]), static_cast<float>(at[2])};
    }
    return points;
}

}  // namespace orvix::bench
