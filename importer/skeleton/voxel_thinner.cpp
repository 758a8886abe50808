// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/skeleton/voxel_thinner.h"

#include <algorithm>

namespace orvix::importer {
namespace {

constexpr std::size_t kVoxelsPerCell = 1000;

// 0..9 inside the 10 cm cell. The clamp keeps a coordinate whose hundredfold rounds across a
// 10 cm boundary in the cell that its tenfold put it in.
std::size_t CentimetreOf(float coordinate) {
    const detail::AxisCell cell = detail::CellOf(coordinate);
    const double inside = static_cast<double>(coordinate) - cell.cell100;
    const auto centimetre = static_cast<std::int32_t>(inside * 100.0) - 10 * cell.cell10;
    return static_cast<std::size_t>(std::clamp(centimetre, 0, 9));
}

}  // namespace

ThinningCell ThinningCellOf(const AlivePoint& point, SkeletonSize size) {
    const detail::AxisCell x = detail::CellOf(point.x);
    const detail::AxisCell y = detail::CellOf(point.y);
    const detail::AxisCell z = detail::CellOf(point.z);
    ThinningCell cell{{x.cell100, y.cell100, z.cell100}, {}};
    if (size != SkeletonSize::OneMetre) cell.cell10 = {x.cell10, y.cell10, z.cell10};
    return cell;
}

VoxelThinner::VoxelThinner(SkeletonSize size)
    : subdivided_(size == SkeletonSize::OneCentimetre), voxels_(subdivided_ ? kVoxelsPerCell : 1) {}

std::size_t VoxelThinner::VoxelOf(const AlivePoint& point) const {
    if (!subdivided_) return 0;
    return (CentimetreOf(point.x) * 10 + CentimetreOf(point.y)) * 10 + CentimetreOf(point.z);
}

void VoxelThinner::Add(std::span<const AlivePoint> points) {
    for (const AlivePoint& point : points) {
        const std::size_t number = VoxelOf(point);
        Voxel& voxel = voxels_[number];
        if (voxel.count++ == 0) used_.push_back(static_cast<std::uint16_t>(number));
        voxel.sum.x += point.x;
        voxel.sum.y += point.y;
        voxel.sum.z += point.z;
    }
}

void VoxelThinner::Choose(std::span<const AlivePoint> points) {
    for (const AlivePoint& point : points) {
        Voxel& voxel = voxels_[VoxelOf(point)];
        const auto count = static_cast<double>(voxel.count);
        const double dx = point.x - voxel.sum.x / count;
        const double dy = point.y - voxel.sum.y / count;
        const double dz = point.z - voxel.sum.z / count;
        const double squaredDistance = dx * dx + dy * dy + dz * dz;
        // BEHAVIOUR I10
        if (voxel.hasChosen && !(squaredDistance < voxel.squaredDistance)) continue;
        voxel.hasChosen = true;
        voxel.squaredDistance = squaredDistance;
        voxel.chosen = point;
    }
}

void VoxelThinner::Finish(std::vector<AlivePoint>& chosen) {
    std::sort(used_.begin(), used_.end());
    for (const std::uint16_t number : used_) {
        chosen.push_back(voxels_[number].chosen);
        voxels_[number] = {};
    }
    used_.clear();
}

}  // namespace orvix::importer
