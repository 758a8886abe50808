// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "detection/region_growth.h"

namespace orvix::detection {

/// Joins regions that are pieces of one plane: a wall on both sides of a door, a floor that a
/// carpet cut in two.
///
/// Two regions are one when cells of theirs lie within `bridge` of each other, to the next cell,
/// and when the plane through both passes each at no more than the noise allows: the mean square
/// distance of either's points grows by at most a `slack` squared.
///
/// Order  pairs by how little they lose, equal ones by number, until none is left; the regions that
///        remain keep the number of their first piece, then close ranks.
/// Cost   n log n of the cells; pairs are looked for in cells of the bridge's size.
void MergeRegions(const CellGrid& grid, const GrowthLimits& limits, double bridge, double slack,
                  Regions& regions);

}  // namespace orvix::detection
