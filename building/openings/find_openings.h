// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "building/openings/wall_view.h"

namespace orvix::building {

/// The doors and windows of a wall: rectangles of open squares, 0.3 m wide and high and 0.15 square
/// metres at least, half of which is open, or that a groove rings as it does a closed leaf.
///
/// A rectangle goes on where something hides it, up to what is solid. One from the floor up, 1.75 m
/// high and more and up to 2.6 m wide, is a door; else it is a window; one that rays went through, and
/// that is wider or reaches up to the ceiling, is a hole. A rectangle whose wall another wall crosses
/// is none.
///
/// Order  along the wall, then from the bottom up. `Opening::wall` and `rooms` are left to the caller.
std::vector<Opening> FindOpenings(const WallView& view, const WallPiece& wall, double floor,
                                  double ceiling);

}  // namespace orvix::building
