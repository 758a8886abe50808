// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <span>
#include <vector>

#include "detection/growth/cell_map.h"
#include "detection/growth/loose_points.h"
#include "detection/growth/region_growth.h"

namespace orvix::detection {

/// The regions that grew from a tile's loose points, and the cells that each passes.
struct SmallRegions {
    std::vector<Region> regions;
    std::vector<SmallPart> parts;  ///< by cell, then by region, which count from 0
};

/// Grows regions over specks: faces too narrow for cells, such as reveals, frames and beams.
///
/// Each speck has the normal of its 12 nearest ones, or of those that agree on a plane. From the
/// flattest on, regions take in the nearest specks of their specks, as GrowRegions does with cells; a
/// speck leads on where its normal is the region's or where most of its nearest ones lie on the plane.
/// What is smaller than a dozen specks, or narrower than a fifth of a cell, is dropped, and so is what
/// leans against all regions of the tile, `around` and larger small ones, where surfaces pass through
/// it from one side to the other, or, hardly wider than its noise, against the larger ones beside it.
/// A speck of which two regions were dropped leads on no more, so that one is not grown again from each
/// seed.
///
/// Order   a function of the specks and of the regions around: seeds by flatness, equal ones by number.
/// Errors  none; where `proceed`, asked every few milliseconds, says no, a result to be dropped.
/// Cost    some 2 microseconds and 250 bytes per speck.
SmallRegions GrowSmallRegions(std::span<const Speck> specks, const TileCells& tile,
                              const Regions& around, const GrowthLimits& limits,
                              const std::function<bool()>& proceed = {});

}  // namespace orvix::detection
