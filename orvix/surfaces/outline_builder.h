// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <vector>

#include "orvix/geometry/plane_outline.h"
#include "orvix/points/records.h"

namespace orvix::detail {

/// How the outline of a planar point set is found.
struct OutlineOptions {
    /// A gap that takes in a circle of this radius is outside, metres; 0 derives it from the
    /// points.
    double radius = 0;
    /// Sets of more points than this are thinned first.
    std::size_t maxPoints = 1'000'000;
};

/// The concave outline of a planar point set, with holes and islands: its alpha shape.
///
///     const PlaneOutline outline = BuildOutline(positions, {});
///
/// The points are triangulated (Delaunay); a triangle belongs to the set when its circumscribed
/// circle has at most the outline's radius, so a gap is a place between the points that takes in a
/// circle of that radius. Unless given, the radius is three times the typical length of an edge:
/// evenly or randomly spread points leave no gap inside, the wide step between the lines of a line
/// scan counts, and a doorway of some seven point spacings is seen. Typical is a median by area, so
/// that the dense patch under a scanner does not decide for the rest: in a raster of about 4096
/// square cells over the points' box every cell votes for the mean length of the edges that end in
/// it, with as many votes as there are such edges, but no more than 24 (about four points' worth).
/// The rings run along the edges between triangles that belong and those that do not. A ring that
/// encloses less than the radius squared is a speck or a pinhole and is left out, but for the
/// largest region.
///
/// Of more than `maxPoints` points only those that are leftmost, rightmost, lowest or highest in
/// their cell take part, in a raster of square cells of which the points' box holds a quarter of
/// `maxPoints`: what is lost is finer than a cell, and a straight rim stays where it is.
///
/// Order      a function of the set of positions: neither their order nor repeats matter. Of
///            several points at one position the ring names the first.
/// Boundaries fewer than three points, or points on one line: no region. A position that is not
///            finite is left out.
/// Threads    no state.
/// Cost       n log n; a million points in about 0.4 s, and 150 MB meanwhile.
/// Source     H. Edelsbrunner, D. Kirkpatrick, R. Seidel: On the shape of a set of points in the
///            plane. IEEE Transactions on Information Theory 29 (1983), 551-559.
PlaneOutline BuildOutline(const std::vector<SimplePoint2DT<double>>& positions,
                          const OutlineOptions& options);

}  // namespace orvix::detail
