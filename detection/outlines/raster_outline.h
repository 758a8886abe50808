// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "detection/outlines/plane_raster.h"
#include "orvix/geometry/plane_outline.h"

namespace orvix::detection {

/// What an outline leaves out.
struct OutlineLimits {
    double minHoleArea = 0;    ///< square metres: smaller holes are filled
    double minIslandArea = 0;  ///< likewise: smaller pieces are dropped, but for the largest
};

/// The outline of a raster's filled pixels: where they end, with holes and islands, straightened.
///
/// The rims run along the edges of pixels; pixels that touch at a corner alone belong to different
/// pieces. A rim is then told by as few of its corners as it takes to stay within one pixel of it
/// and clear of the others (rim_straightener.h).
///
/// Shape   as PlaneOutline's, but that the vertices are corners of pixels, told apart by
///         `indices`, which number them through the whole outline in its order. Every ring is
///         simple, holes lie inside their outer ring and beside each other, and regions beside each
///         other: a valid polygon with holes. Two rings share single vertices at most; other than
///         there, lines stay a quarter of a pixel apart, so that rounded coordinates do not cross.
///         A vertex that is shared may lie on the segment between its neighbours.
/// Order   a function of the raster alone.
/// Cost    linear in the raster's words and its rims, straightening n log n as a rule.
PlaneOutline OutlineOf(const PlaneRaster& raster, const OutlineLimits& limits);

}  // namespace orvix::detection
