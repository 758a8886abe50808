// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "detection/outlines/plane_raster.h"
#include "orvix/geometry/plane_outline.h"

namespace orvix::detection {

/// The sizes below which an outline leaves holes and pieces out.
struct OutlineLimits {
    double minHoleArea = 0;    ///< square metres: smaller holes are filled
    double minIslandArea = 0;  ///< square metres: smaller pieces are dropped, but for the largest
};

/// Draws the outline of a raster's filled pixels, with holes and islands, in few straight lines.
///
/// The rims run along the edges of pixels; pixels that touch only at a corner belong to different
/// pieces. Each rim is then reduced to as few of its corners as keep it within one pixel of what it
/// was, and clear of the others (rim_straightener.h).
///
/// Units   metres, as the raster's.
/// Shape   a valid polygon with holes: every ring is simple, holes lie inside their outer ring and
///         beside each other, and regions beside each other. Vertices are corners of pixels; a
///         PlaneOutline's `indices` number them through the whole outline in its order. Two rings
///         share single vertices at most; other than there, lines stay a quarter of a pixel apart,
///         so that rounded coordinates do not cross. A vertex that is shared may lie on the segment
///         between its neighbours.
/// Order   a function of the raster alone.
/// Cost    linear in the raster's words and its rims; straightening n log n as a rule.
PlaneOutline OutlineOf(const PlaneRaster& raster, const OutlineLimits& limits);

}  // namespace orvix::detection
