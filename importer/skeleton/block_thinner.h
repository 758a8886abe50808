// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>
#include <vector>

#include "importer/grid/grid_frame.h"
#include "importer/import_options.h"
#include "importer/skeleton/histograms.h"
#include "importer/skeleton/thinned_points.h"
#include "importer/skeleton/voxel_thinner.h"

namespace orvix::importer {

/// Thins merged blocks of whole 10 cm cells and counts their histograms, while they are in cache.
///
/// Choose CloudThinner for what no block holds: a skeleton of 1 m, whose cells are larger, and 10 cm
/// cells of more points than a block. Both choose the same points.
///
/// Threads  one thinner per thread.
/// Cost     two passes over the points; a cell of one point takes none.
class BlockThinner {
public:
    /// Precondition: `size` is not OneMetre.
    explicit BlockThinner(SkeletonSize size);

    /// Thins points in order, which lie in `cells`, into `thinned`, which is replaced.
    void Thin(const GridFrame& frame, std::span<const AlivePoint> points,
              std::span<const CellCount> cells);

    ThinnedPoints thinned;
    Histograms histograms;

private:
    std::span<const AlivePoint> Choose(std::span<const AlivePoint> cell);

    bool subdivided_;
    VoxelThinner thinner_;
    std::vector<AlivePoint> chosen_;
};

}  // namespace orvix::importer
