// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/skeleton/block_thinner.h"

namespace orvix::importer {
namespace {

// What VoxelThinner chooses of one voxel, to the last bit, without looking the voxel up.
// BEHAVIOUR I10
const AlivePoint& NearestToCentroid(std::span<const AlivePoint> points) {
    SimplePointT<double> sum;
    for (const AlivePoint& point : points) {
        sum.x += point.x;
        sum.y += point.y;
        sum.z += point.z;
    }
    const auto count = static_cast<double>(points.size());
    const SimplePointT<double> centroid{sum.x / count, sum.y / count, sum.z / count};
    const auto squaredDistance = [&](const AlivePoint& point) {
        const double dx = point.x - centroid.x;
        const double dy = point.y - centroid.y;
        const double dz = point.z - centroid.z;
        return dx * dx + dy * dy + dz * dz;
    };
    const AlivePoint* nearest = &points.front();
    double least = squaredDistance(*nearest);
    for (const AlivePoint& point : points.subspan(1)) {
        const double distance = squaredDistance(point);
        if (!(distance < least)) continue;
        least = distance;
        nearest = &point;
    }
    return *nearest;
}

}  // namespace

BlockThinner::BlockThinner(SkeletonSize size)
    : subdivided_(size == SkeletonSize::OneCentimetre), thinner_(size) {}

std::span<const AlivePoint> BlockThinner::Choose(std::span<const AlivePoint> cell) {
    if (cell.size() == 1) return cell;
    if (!subdivided_) return {&NearestToCentroid(cell), 1};
    chosen_.clear();
    thinner_.Add(cell);
    thinner_.Choose(cell);
    thinner_.Finish(chosen_);
    return chosen_;
}

void BlockThinner::Thin(const GridFrame& frame, std::span<const AlivePoint> points,
                        std::span<const CellCount> cells) {
    thinned.Clear();
    for (const AlivePoint& point : points) histograms.Add(point);
    SortKey metre = kEndKey;
    for (const CellCount& cell : cells) {
        if (cell.key.Metre() != metre) {
            metre = cell.key.Metre();
            thinned.Open(frame.PositionOf(metre).cell100);
        }
        thinned.Add(cell.count, Choose(points.first(cell.count)));
        points = points.subspan(cell.count);
    }
}

}  // namespace orvix::importer
