// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <vector>

#include "detection/assigned_points.h"
#include "detection/plane_search.h"
#include "detection/regions/cloud_regions.h"

namespace orvix::detection {

/// How a search begins: the cloud cut into chunks and tiles, and the settings that it is searched
/// with.
struct SearchPlan {
    std::size_t step = 0;  ///< the size of its cells: a place in CellFrame::kSizes
    PointChunks cut;
    PlaneSearchSettings settings;
};

/// The plan that a search tries first. Errors: those of CutIntoChunks and EstimateCloud.
Expected<SearchPlan> FirstPlan(CProjectCore& core, const PlaneSearchOptions& options,
                               const parallel::Pool& pool);

/// The plan with cells of a given size. Errors: the same.
Expected<SearchPlan> PlanSearch(CProjectCore& core, std::size_t step,
                                const PlaneSearchOptions& options, const parallel::Pool& pool);

/// What other processes have found of a cloud already: PlaneSearch::Finish takes it from here and goes
/// over no point by itself.
class SearchStages {
public:
    SearchStages() = default;
    virtual ~SearchStages() = default;
    SearchStages(const SearchStages&) = delete;
    SearchStages& operator=(const SearchStages&) = delete;

    [[nodiscard]] virtual const PlaneSearchOptions& Options() const = 0;
    [[nodiscard]] virtual const SearchPlan& Plan() const = 0;
    /// As FindRegions.
    [[nodiscard]] virtual Expected<GrownTiles> Regions() const = 0;
    /// As AssignPoints.
    [[nodiscard]] virtual Expected<void> AddPoints(std::vector<RegionPoints>& points) const = 0;
};

}  // namespace orvix::detection
