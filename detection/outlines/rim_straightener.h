// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "detection/outlines/rim_tracer.h"

namespace orvix::detection {

/// Tells each rim by as few of its corners as it takes to stay within the tolerance of it, but so
/// many that rims lie to each other as before.
///
/// Every rim is straightened on its own first. Where lines then come nearer to each other than a
/// quarter of a pixel, or a rim has come to lie on the other side of another, the rims concerned
/// get corners back until none does; with all corners back, no two lines are nearer than a pixel.
///
/// Units  pixels.
/// Shape  rims stay simple and keep their first corner and their direction; two of them share
///        single corners at most, where they shared them before, and do not cross there. No corner
///        lies on the line between its neighbours unless it is shared. `twiceArea` becomes
///        the straightened rim's, `parent` stays.
/// Order  a function of the arguments alone. What crosses what, and what lies inside of what, is
///        decided in integers.
/// Cost   n log n of the corners as a rule.
/// Source D. Douglas, T. Peucker: Algorithms for the reduction of the number of points required
///        to represent a digitized line. Cartographica 10 (1973), 112-122.
void StraightenRims(std::vector<Rim>& rims, double tolerance);

}  // namespace orvix::detection
