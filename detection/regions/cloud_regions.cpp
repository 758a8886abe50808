// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/regions/cloud_regions.h"

#include "detection/regions/region_merge.h"

namespace orvix::detection {

Expected<CloudRegions> FindRegions(CProjectCore& core, PointChunks cut, const GrowthLimits& limits,
                                   double bridge, const parallel::Pool& pool,
                                   std::uint64_t memoryLimit) {
    auto grown = GrowTiles(core, cut, limits, pool, memoryLimit);
    if (!grown) return ErrorOf(grown);
    const auto merged = MergeRegions(limits, bridge, pool, grown->map, grown->regions);
    if (!merged) return ErrorOf(merged);
    grown->leftOut += merged->leftOut;
    auto choices = PlaneChoices::Of(grown->map, grown->regions, limits.distance, pool);
    if (!choices) return ErrorOf(choices);
    return CloudRegions{std::move(cut), std::move(*grown), std::move(*choices)};
}

}  // namespace orvix::detection
