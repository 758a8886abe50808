// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "detection/regions/cell_map.h"

namespace orvix::detection {

/// Two regions, the lower number first.
using RegionPair = std::pair<std::int32_t, std::int32_t>;

/// How close two regions come.
struct NearPair {
    RegionPair pair;
    bool touch = false;  ///< cells of theirs lie side by side

    auto operator<=>(const NearPair&) const = default;
};

/// The regions that come near each other in a tile: pairs that have cells, one of which may lie in
/// a tile beside it, within `reach` cells along every axis. Pairs that `mayJoin` refuses are left
/// out unseen.
/// Boundaries `reach` is 1 at least, and 26 at most.
/// Order  by pair, each once.
/// Cost   some 50 ns a cell for a reach of a few cells; it grows with the fourth power of the reach
///        where regions that may meet lie side by side without touching.
std::vector<NearPair> NearPairsIn(const CellMap& map, std::size_t tile, std::int32_t reach,
                                  const std::function<bool(const RegionPair&)>& mayJoin);

}  // namespace orvix::detection
