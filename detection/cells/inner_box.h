// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "detection/cells/cell_box.h"
#include "detection/cells/cell_frame.h"

namespace orvix::detection {

/// Where in its cell the points of a surface lie, in 256ths of the cell's side.
///
/// Boundaries rounded outward: a gap between two boxes is never wider than that between the points.
struct InnerBox {
    std::array<std::uint8_t, 3> low{};
    std::array<std::uint8_t, 3> high{255, 255, 255};

    InnerBox() = default;
    /// `corner` is the cell's lowest corner, from where the box is measured, too.
    InnerBox(const CellBox& box, const Vector& corner, double size) {
        const std::array<double, 3> from{corner.x, corner.y, corner.z};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            low[axis] = Part((box.low[axis] - from[axis]) / size);
            high[axis] = Part((box.high[axis] - from[axis]) / size);
        }
    }

private:
    static std::uint8_t Part(double share) {
        return static_cast<std::uint8_t>(std::clamp(share * 256, 0.0, 255.0));
    }
};

/// The squared width of the widest gap, in cells' sides, that parts no surface where two cells touch:
/// half a side, or two and a half distances between the points of the fuller one.
inline double MaxSquaredGap(double points) {
    constexpr double kMinGap = 0.5;
    constexpr double kSpacings = 2.5;
    return std::max(kMinGap * kMinGap, kSpacings * kSpacings / points);
}

/// The squared gap between the boxes of two cells, in 256ths of the cells' side; 0 where they touch.
inline std::int64_t SquaredGap(const CellPlace& a, const InnerBox& inA, const CellPlace& b,
                               const InnerBox& inB) {
    std::int64_t sum = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const std::int64_t apart = (std::int64_t{b[axis]} - a[axis]) * 256;
        const std::int64_t gap =
            std::max({apart + inB.low[axis] - inA.high[axis] - 1,
                      inA.low[axis] - apart - inB.high[axis] - 1, std::int64_t{0}});
        sum += gap * gap;
    }
    return sum;
}

}  // namespace orvix::detection
