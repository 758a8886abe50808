// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "detection/outlines/plane_raster.h"

namespace orvix::detection {

/// A corner of pixels, counted in pixels.
struct RimCorner {
    std::int64_t x = 0;
    std::int64_t y = 0;

    bool operator==(const RimCorner&) const = default;
};

constexpr std::size_t kNoRim = ~std::size_t{0};

/// One closed line between filled and empty pixels.
///
/// Shape  a simple polygon, by the corners where it turns; the last joins the first. The filled
///        pixels beside it lie to its left: an outer rim runs counter-clockwise, a hole's
///        clockwise.
/// Order  the first corner is the one with the smallest x, then the smallest y.
struct Rim {
    std::vector<RimCorner> corners;
    std::int64_t twiceArea = 0;   ///< twice the pixels inside; below 0: a hole's
    std::size_t parent = kNoRim;  ///< the rim right around it: of a hole always an outer one
};

/// All rims of a raster.
///
/// Pixels that touch at a corner alone belong to different pieces, empty ones to one hole. Where a
/// walk along a rim comes back to such a corner it has gone around a hole, which becomes a rim of
/// its own: rims touch each other, if at all, in single corners, and none touches itself.
///
///     for (const Rim& rim : TraceRims(raster)) Use(rim.corners, rim.twiceArea > 0);
///
/// Units  pixels: PlaneRaster::Corner tells where a corner lies.
/// Order  a function of the raster alone; a rim may come before its parent.
/// Cost   linear in the raster's words and the length of its rims, times the logarithm of the
///        changes in a row; 8 bytes for each change from empty to filled or back along a row.
std::vector<Rim> TraceRims(const PlaneRaster& raster);

}  // namespace orvix::detection
