// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <limits>

#include "detection/cells/moments.h"

namespace orvix::detection {

/// The bounds of a cell's points, in single precision: what shows that two cells that touch hold
/// surfaces that do not, such as the ceilings on both sides of a wall.
struct CellBox {
    std::array<float, 3> low{kNone, kNone, kNone};
    std::array<float, 3> high{-kNone, -kNone, -kNone};

    void Add(const Vector& p) {
        const std::array<float, 3> at{static_cast<float>(p.x), static_cast<float>(p.y),
                                      static_cast<float>(p.z)};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            low[axis] = std::min(low[axis], at[axis]);
            high[axis] = std::max(high[axis], at[axis]);
        }
    }
    void Add(const CellBox& other) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            low[axis] = std::min(low[axis], other.low[axis]);
            high[axis] = std::max(high[axis], other.high[axis]);
        }
    }
    [[nodiscard]] Vector Middle() const {
        return {(double{low[0]} + high[0]) / 2, (double{low[1]} + high[1]) / 2,
                (double{low[2]} + high[2]) / 2};
    }
    /// Whether the points lie about a line: two sides are no wider than that.
    [[nodiscard]] bool IsLine(float width) const {
        int thin = 0;
        for (std::size_t axis = 0; axis < 3; ++axis) thin += high[axis] - low[axis] <= width;
        return thin >= 2;
    }
    /// The squared width of the gap between two boxes; 0 where they touch or overlap.
    [[nodiscard]] float SquaredGap(const CellBox& other) const {
        float sum = 0;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const float gap =
                std::max({other.low[axis] - high[axis], low[axis] - other.high[axis], 0.0F});
            sum += gap * gap;
        }
        return sum;
    }

private:
    static constexpr float kNone = std::numeric_limits<float>::max();
};

}  // namespace orvix::detection
