// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/search_stages.h"

#include <utility>

#include "detection/cells/cloud_estimate.h"
#include "detection/search_settings.h"

namespace orvix::detection {

Expected<SearchPlan> FirstPlan(CProjectCore& core, const PlaneSearchOptions& options,
                               const parallel::Pool& pool) {
    if (options.cellSize > 0) return PlanSearch(core, CellStepFor(options.cellSize), options, pool);
    auto cloud = EstimateTypicalCells(core, pool);
    if (!cloud) return ErrorOf(cloud);
    const double size = cloud->cut.frame.Size();
    return SearchPlan{cloud->step, std::move(cloud->cut),
                      SettingsFor(options, size, cloud->estimate)};
}

Expected<SearchPlan> PlanSearch(CProjectCore& core, std::size_t step,
                                const PlaneSearchOptions& options, const parallel::Pool& pool) {
    const CellFrame frame(step);
    auto cut = CutIntoChunks(core, frame);
    if (!cut) return ErrorOf(cut);
    const auto cloud = EstimateCloud(core, *cut, pool);
    if (!cloud) return ErrorOf(cloud);
    const PlaneSearchSettings settings = SettingsFor(options, frame.Size(), *cloud);
    return SearchPlan{step, std::move(*cut), settings};
}

}  // namespace orvix::detection
