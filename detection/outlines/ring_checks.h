// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <vector>

#include "orvix/geometry/plane_outline.h"
#include "orvix/points/records.h"

namespace orvix::detection {

/// Twice the area inside a ring; negative where it runs clockwise.
double TwiceAreaOf(const std::vector<SimplePoint2DT<double>>& ring);

/// The rings of one outline that cross, or come nearer than `apart` to, themselves or each other;
/// both of two. Edges that follow each other share a corner, and two rings may share single ones.
///
/// Order  by their places, each once.
/// Cost   n log n in the edges, but for pairs of long slanting ones whose boxes overlap.
std::vector<std::size_t> RingsInTheWay(const std::vector<PlaneRing*>& rings, double apart);

/// The rings of an outline, counted as its regions hold them, outer ring and then holes, that do not
/// lie where they belong: a hole outside its outer ring or inside another hole, a region inside the
/// surface of another one; both of two. Precondition: no rings are in the way of each other.
///
/// Order  by their places, each once.
/// Cost   a look at the box of each pair of rings, and at all edges of those that overlap.
std::vector<std::size_t> RingsOutOfPlace(const PlaneOutline& outline);

}  // namespace orvix::detection
