// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "detection/growth/cell_map.h"

namespace orvix::detection {

/// Two regions, the lower number first.
using RegionPair = std::pair<std::int32_t, std::int32_t>;

/// Two regions that come near each other.
struct NearPair {
    RegionPair pair;
    bool touch = false;  ///< points of theirs lie side by side
    bool wall = false;   ///< a wall stands between: they are near, and never one
    Vector place;        ///< where they come nearest, the first of several
    double gap = 0;      ///< metres, between their points, there
};

/// How near regions have to come.
struct Nearness {
    double bridge = 0;  ///< metres of the gap between their points
    /// Whether two regions may be one surface.
    std::function<bool(const RegionPair&)> mayJoin;
    /// The region of a number: its plane says to which sides walls rise from it.
    std::function<const Region&(std::int32_t)> regionOf;
};

/// Finds the regions that come near each other in a tile.
///
/// Two regions are near where the points of a cell of one lie within `bridge` of those of a cell of
/// the other, as far as the cells' bounds show, and no wall stands between; one of the two cells may
/// lie in a tile beside this one. A wall stands between where IsWallBetween finds one: a room's
/// ceiling ends there, and the next room's begins. What hides less, such as a beam, is no wall, and
/// neither is one that fewer than a fifth of the contacts across the gap meet.
/// No wall parts small regions from others. Pairs that a wall parts are found, too, and marked; those
/// that `mayJoin` refuses are left out without a look at their cells.
///
/// Boundaries `bridge` is at most 20 cells. Cells that touch are near with any bridge, if the gap
///            between their points is no wider than their points are apart, and no wall stands there.
/// Order      by pair, each once.
/// Cost       some 50 ns per cell for a bridge of a few cells. It grows with the fourth power of the
///            bridge where regions that may join lie side by side without touching.
std::vector<NearPair> NearPairsIn(const CellMap& map, std::size_t tile, const Nearness& nearness);

}  // namespace orvix::detection
