// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "support/scenes/synthetic_building.h"

namespace orvix::bench {

/// What to scan: how large a building, and how densely.
struct BuildingPlan {
    std::uint64_t points = 1'000'000;
    int rooms = 0;       ///< 0: as many as the points suggest
    double spacing = 0;  ///< metres between neighbours on a surface, about; 0: as it comes out
};

/// A building for a plan. With `spacing` it decides how many points there are: a square metre holds
/// as many in a small building as in a large one, and `points` chooses the building that comes
/// nearest. Without it all the points go into the building.
///
/// Boundaries a building has one storey below 8 rooms, two up to 12 and then three.
test::BuildingOptions BuildingFor(const BuildingPlan& plan, test::BuildingOptions options);

}  // namespace orvix::bench
