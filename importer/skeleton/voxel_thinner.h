// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "importer/grid/grid_frame.h"
#include "importer/import_options.h"

namespace orvix::importer {

/// A cell whose points are thinned together: a 10 cm cell, for a skeleton of 1 m a 100 cm cell.
///
/// Its points follow each other in Grid.pts.
struct ThinningCell {
    std::array<std::int32_t, 3> cell100{};
    std::array<std::int32_t, 3> cell10{};  // zero for a skeleton of 1 m

    bool operator==(const ThinningCell&) const = default;
};

ThinningCell ThinningCellOf(const AlivePoint& point, SkeletonSize size);

/// Chooses for each voxel of a cell the point nearest to the centroid of the voxel's points.
///
///     thinner.Add(points);      // once, or piece by piece in order
///     thinner.Choose(points);   // the same points again
///     thinner.Finish(chosen);   // appends the chosen ones; ready for the next cell
///
/// Units      voxels are 1 cm (0..9 along each axis of the 10 cm cell), or the cell itself.
/// Order      chosen points come by voxel: x, then y, then z.
/// Boundaries centroids and squared distances are summed in double, in file order; of equally
///            near points the first is chosen.
/// Threads    one per thread.
/// Cost       two passes over the points; memory for at most 1000 voxels.
class VoxelThinner {
public:
    explicit VoxelThinner(SkeletonSize size);

    void Add(std::span<const AlivePoint> points);
    void Choose(std::span<const AlivePoint> points);
    void Finish(std::vector<AlivePoint>& chosen);

private:
    struct Voxel {
        SimplePointT<double> sum;
        double squaredDistance = 0;
        std::uint64_t count = 0;
        bool hasChosen = false;
        AlivePoint chosen;
    };

    [[nodiscard]] std::size_t VoxelOf(const AlivePoint& point) const;

    bool subdivided_;
    std::vector<Voxel> voxels_;
    std::vector<std::uint16_t> used_;
};

}  // namespace orvix::importer
