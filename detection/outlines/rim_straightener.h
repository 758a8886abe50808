// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "detection/outlines/rim.h"

namespace orvix::detection {

/// Reduces rims to few corners: each stays within the tolerance of what it was, none crosses
/// another, and none comes to lie inside another rim than before.
///
/// Every rim is straightened on its own first. Where lines then come nearer to each other than a
/// quarter of a pixel, or a rim has come to lie on the other side of another, the rims concerned
/// get corners back until none does. With all corners back, no two lines are nearer than a pixel.
///
/// Units  pixels.
/// Shape  rims stay simple and keep their first corner and their direction; two of them share
///        single corners at most, where they shared them before, and do not cross there. No corner
///        lies on the line between its neighbours unless it is shared. `twiceArea` becomes that of
///        the straightened rim, `parent` stays.
/// Order  a function of the arguments alone. What crosses what, and what lies inside what, is
///        decided in integers.
/// Cost   n log n in the corners as a rule.
/// Source D. Douglas, T. Peucker: Algorithms for the reduction of the number of points required
///        to represent a digitized line. Cartographica 10 (1973), 112-122.
void StraightenRims(std::vector<Rim>& rims, double tolerance);

}  // namespace orvix::detection
