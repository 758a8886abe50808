// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <span>
#include <vector>

#include "detection/regions/cell_map.h"
#include "detection/regions/loose_points.h"
#include "detection/regions/region_growth.h"

namespace orvix::detection {

/// The regions that grew from a tile's loose points, and the cells that each passes.
struct SmallRegions {
    std::vector<Region> regions;
    std::vector<SmallPart> parts;  ///< by cell, then by region, which count from 0
};

/// Grows regions over specks: faces too narrow for cells, such as reveals, frames and beams.
///
/// Each speck has the normal of its 12 nearest ones. From the flattest on, regions take in the
/// nearest specks of their specks, as GrowRegions does with cells; what is smaller than a dozen
/// specks, or narrower than a quarter of a cell, is dropped.
///
/// Boundaries specks farther than 0.8 of a cell's side apart are no neighbours; where a cell holds no
///            more than three points, as on a facade far from the scanner, 2.5 sides.
/// Order   a function of the specks alone: seeds by flatness, equal ones by number.
/// Errors  none; where `proceed`, asked every few milliseconds, says no, a result to be dropped.
/// Cost    some 2 microseconds and 250 bytes per speck.
SmallRegions GrowSmallRegions(std::span<const Speck> specks, const TileCells& tile,
                              const GrowthLimits& limits,
                              const std::function<bool()>& proceed = {});

}  // namespace orvix::detection
