// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/assigned_points.h"

#include <cmath>
#include <numeric>

#include "detection/cells/point_readers.h"

namespace orvix::detection {
namespace {

/// Sums up the points of one chunk. The sum at work is a copy, so that the compiler can hold it in
/// registers while points of one region follow each other.
class ChunkAdder {
public:
    /// `slots`, of each region, are -1, and are so again after Finish.
    ChunkAdder(const CloudRegions& regions, const std::vector<PlaneHeight>& planes,
               std::vector<RegionPoints>& points, std::vector<std::int32_t>& slots)
        : assignment_(regions, planes), planes_(planes), points_(points), slots_(slots) {}

    void Add(std::span<const CCloudPoint<float>> points, std::span<const std::int32_t> choice) {
        if (choice.size() == 1) return AddAll(points, choice[0]);
        for (const auto& p : points) {
            const std::int32_t region = assignment_.Nearest({p.x, p.y, p.z}, choice);
            if (region == kNoRegion) continue;
            Select(region);
            Add({p.x, p.y, p.z}, sum_);
        }
    }
    ChunkSums Finish() {
        Select(kNoRegion);
        for (const auto& [region, sum] : sums_) slots_[static_cast<std::size_t>(region)] = -1;
        return std::move(sums_);
    }

private:
    // Points that have but one plane to belong to.
    void AddAll(std::span<const CCloudPoint<float>> points, std::int32_t region) {
        Select(region);
        const PlaneHeight plane = planes_[static_cast<std::size_t>(region)];
        MomentSum sum = sum_;
        for (const auto& p : points) {
            const Vector at{p.x, p.y, p.z};
            if (!(std::abs(plane.Distance(at)) > plane.reach)) Add(at, sum);
        }
        sum_ = sum;
    }
    void Add(const Vector& at, MomentSum& sum) {
        sum.Add(at - centre_);
        raster_->Mark(frame_.To2D(at));
    }
    void Select(std::int32_t region) {
        if (region == region_) return;
        if (region_ != kNoRegion) sums_[slot_].second = sum_;
        region_ = region;
        if (region == kNoRegion) return;
        const auto i = static_cast<std::size_t>(region);
        if (slots_[i] < 0) {
            slots_[i] = static_cast<std::int32_t>(sums_.size());
            sums_.emplace_back(region, MomentSum{});
        }
        slot_ = static_cast<std::size_t>(slots_[i]);
        sum_ = sums_[slot_].second;
        centre_ = points_[i].centre;
        frame_ = points_[i].frame;
        raster_ = &points_[i].raster;
    }

    const PointAssignment assignment_;
    const std::vector<PlaneHeight>& planes_;
    std::vector<RegionPoints>& points_;
    std::vector<std::int32_t>& slots_;  // of each region in sums_; -1: none
    ChunkSums sums_;
    std::int32_t region_ = kNoRegion;
    std::size_t slot_ = 0;
    MomentSum sum_;
    Vector centre_;
    PlaneFrame frame_;
    PlaneRaster* raster_ = nullptr;
};

}  // namespace

Expected<std::vector<ChunkSums>> SumChunks(CProjectCore& core, const CloudRegions& regions,
                                           const std::vector<PlaneHeight>& planes,
                                           const parallel::Pool& pool,
                                           std::span<const std::uint32_t> chunks,
                                           std::vector<RegionPoints>& points) {
    std::vector<ChunkSums> parts(chunks.size());
    PointReaders readers(core, pool.Threads());
    std::vector<std::vector<std::int32_t>> slots(pool.Threads());
    const PointAssignment assignment(regions, planes);
    auto done = pool.RunJobs(chunks.size(), [&](std::size_t i, unsigned worker) -> Expected<void> {
        slots[worker].resize(planes.size(), -1);
        ChunkAdder adder(regions, planes, points, slots[worker]);
        auto read = assignment.ForEachRun(
            readers[worker], chunks[i],
            [&](std::span<const CCloudPoint<float>> run, std::span<const std::int32_t> choice) {
                adder.Add(run, choice);
            });
        parts[i] = adder.Finish();
        return read;
    });
    if (!done) return ErrorOf(done);
    return parts;
}

void AddSums(const std::vector<ChunkSums>& chunks, std::vector<RegionPoints>& points) {
    for (const ChunkSums& chunk : chunks)
        for (const auto& [region, sum] : chunk)
            points[static_cast<std::size_t>(region)].sum.Add(sum);
}

Expected<void> AssignPoints(CProjectCore& core, const CloudRegions& regions,
                            const std::vector<PlaneHeight>& planes, const parallel::Pool& pool,
                            std::vector<RegionPoints>& points) {
    std::vector<std::uint32_t> chunks(regions.cut.chunks.size());
    std::iota(chunks.begin(), chunks.end(), 0U);
    const auto sums = SumChunks(core, regions, planes, pool, chunks, points);
    if (!sums) return ErrorOf(sums);
    AddSums(*sums, points);
    return {};
}

}  // namespace orvix::detection
