// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orvix::detection {

/// A corner of a pixel: its lower left one has the pixel's own column and row.
struct RimCorner {
    std::int64_t x = 0;
    std::int64_t y = 0;

    bool operator==(const RimCorner&) const = default;
};

constexpr std::size_t kNoRim = ~std::size_t{0};

/// One closed line between filled and empty pixels.
///
/// Units  pixels: PlaneRaster::Corner returns where a corner lies.
/// Shape  a simple polygon, by the corners where it turns; the last joins the first. The filled
///        pixels beside it lie to its left: an outer rim runs counter-clockwise, a hole's
///        clockwise.
/// Order  the first corner is the one with the smallest x, then the smallest y.
struct Rim {
    std::vector<RimCorner> corners;
    std::int64_t twiceArea = 0;   ///< twice the pixels inside; negative for a hole
    std::size_t parent = kNoRim;  ///< the rim directly around it: of a hole always an outer one
};

}  // namespace orvix::detection
