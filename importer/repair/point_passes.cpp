// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/repair/point_passes.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "importer/files/raw_buffer.h"
#include "orvix/geometry/bounds.h"
#include "orvix/points/attributes.h"
#include "parallel/run_in_order.h"

namespace orvix::importer {
namespace {

constexpr std::uint64_t kBatchPoints = 65'536;
constexpr float kFarthest = 1e7F;

// Some points that follow each other, and what a pass found in them.
struct Batch {
    std::uint64_t first = 0;
    RawBuffer<AlivePoint> points;
    PointExtent extent;
    std::vector<CellCount> cells;
};

bool HasPlace(const AlivePoint& point) {
    return std::fabs(point.x) < kFarthest && std::fabs(point.y) < kFarthest &&
           std::fabs(point.z) < kFarthest;
}

tl::unexpected<Error> DamagedPoint(const SyncedFile& file, std::uint64_t number, const char* what) {
    return Fail(ErrorCode::Damaged,
                fmt::format("{}: point {} {}, so nothing can be made of the points; import the "
                            "scans again",
                            platform::ToUtf8(file.Path()), number, what));
}

// Takes batches in order, and reads and works on several at once.
template <class Work, class Commit>
Expected<void> ForEachBatch(const SyncedFile& file, std::uint64_t count, ImportPool& pool,
                            const Work& work, const Commit& commit) {
    std::uint64_t taken = 0;
    parallel::OrderedSteps<Batch> steps;
    steps.take = [&](Batch& batch) -> Expected<bool> {
        batch.first = taken;
        const auto points = std::min(kBatchPoints, count - taken);
        batch.points.Resize(static_cast<std::size_t>(points));
        taken += points;
        return points != 0;
    };
    steps.work = [&](Batch& batch) -> Expected<void> {
        auto read = file.ReadAt(batch.first * kAlivePointBytes, batch.points.Data(),
                                batch.points.Size() * kAlivePointBytes);
        return read ? work(batch) : read;
    };
    steps.commit = [&](Batch& batch) -> Expected<void> {
        pool.Meter().Add(batch.points.Size() * kAlivePointBytes, batch.points.Size());
        return commit(batch);
    };
    return parallel::RunInOrder(pool, steps);
}

}  // namespace

Expected<PointExtent> MeasurePoints(const SyncedFile& points, std::uint64_t count,
                                    ImportPool& pool) {
    PointExtent all;
    const auto measure = [&](Batch& batch) -> Expected<void> {
        batch.extent = {};
        for (std::size_t i = 0; i < batch.points.Size(); ++i) {
            const AlivePoint& point = batch.points[i];
            if (!HasPlace(point)) return DamagedPoint(points, batch.first + i, "has no place");
            const SimplePointT<float> place{point.x, point.y, point.z};
            if (i == 0) batch.extent.bounds = {place, place};
            detail::Extend(batch.extent.bounds, place);
            batch.extent.stations = std::max(batch.extent.stations, detail::StationOf(point) + 1U);
        }
        return {};
    };
    const auto join = [&](Batch& batch) -> Expected<void> {
        if (all.points == 0) all.bounds = batch.extent.bounds;
        detail::Extend(all.bounds, batch.extent.bounds.min);
        detail::Extend(all.bounds, batch.extent.bounds.max);
        all.points += batch.points.Size();
        all.stations = std::max(all.stations, batch.extent.stations);
        return {};
    };
    auto done = ForEachBatch(points, count, pool, measure, join);
    if (!done) return ErrorOf(done);
    return all;
}

Expected<void> IndexPoints(const SyncedFile& points, const PointExtent& extent, ImportPool& pool,
                           IndexWriter& index) {
    const GridFrame frame(extent.bounds);
    const auto file = [&](Batch& batch) -> Expected<void> {
        batch.cells.clear();
        for (std::size_t i = 0; i < batch.points.Size(); ++i) {
            const SortKey key = frame.KeyOf(batch.points[i]);
            if (!batch.cells.empty() && key < batch.cells.back().key) {
                return DamagedPoint(points, batch.first + i, "lies in a cell before its place");
            }
            if (batch.cells.empty() || batch.cells.back().key != key) batch.cells.push_back({key});
            ++batch.cells.back().count;
        }
        return {};
    };
    std::optional<SortKey> last;
    const auto add = [&](Batch& batch) -> Expected<void> {
        if (last && batch.cells.front().key < *last) {
            return DamagedPoint(points, batch.first, "lies in a cell before its place");
        }
        last = batch.cells.back().key;
        return index.Add(batch.cells);
    };
    return ForEachBatch(points, extent.points, pool, file, add);
}

}  // namespace orvix::importer
