// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/write/skeleton_writer.h"

#include <algorithm>

#include "importer/skeleton/cloud_thinner.h"
#include "orvix/geometry/bounds.h"
#include "orvix/points/attributes.h"
#include "parallel/run_in_order.h"

namespace orvix::importer {
namespace {

constexpr std::uint64_t kBatchPoints = CloudThinner::kBlockPoints;
constexpr std::size_t kCoarseRecords = 1024;

struct CoarseBatch {
    std::uint64_t firstRecord = 0;
    std::vector<detail::CoarseViewRecord> records;
};

/// Finds bounds, centroid and representative of one block of the coarse table.
///
/// The block's points are read twice, piece by piece.
class CoarseMeasure {
public:
    CoarseMeasure(const SyncedFile& coordinates, detail::CoarseViewRecord& block,
                  const ImportPool& pool)
        : file_(coordinates), block_(block), pool_(pool) {}

    Expected<void> Measure() {
        auto done = ForEachPoint([&](const SimplePointT<float>& p, std::uint64_t i) {
            if (i == 0) block_.min = block_.max = p;
            detail::Extend(block_, p);
            sum_.x += p.x;
            sum_.y += p.y;
            sum_.z += p.z;
        });
        if (!done) return done;
        return ForEachPoint([&](const SimplePointT<float>& p, std::uint64_t i) {
            const double distance = SquaredDistance(p);
            if (i != 0 && !(distance < nearest_)) return;
            nearest_ = distance;
            block_.representative = static_cast<std::uint32_t>(i);
        });
    }

private:
    template <class Visit>
    Expected<void> ForEachPoint(const Visit& visit) {
        std::vector<SimplePointT<float>> points;
        for (std::uint64_t done = 0; done < block_.count && !pool_.Stopping();
             done += points.size()) {
            points.resize(std::min<std::uint64_t>(kBatchPoints, block_.count - done));
            auto read = file_.ReadAt((block_.first + done) * kSkeletonRecordBytes, points.data(),
                                     points.size() * kSkeletonRecordBytes);
            if (!read) return read;
            for (std::size_t i = 0; i < points.size(); ++i) visit(points[i], done + i);
        }
        return {};
    }

    [[nodiscard]] double SquaredDistance(const SimplePointT<float>& p) const {
        const auto count = static_cast<double>(block_.count);
        const double dx = p.x - sum_.x / count;
        const double dy = p.y - sum_.y / count;
        const double dz = p.z - sum_.z / count;
        return dx * dx + dy * dy + dz * dz;
    }

    const SyncedFile& file_;
    detail::CoarseViewRecord& block_;
    const ImportPool& pool_;
    SimplePointT<double> sum_;
    double nearest_ = 0;
};

}  // namespace

struct SkeletonWriter::Batch {
    std::uint64_t first = 0;
    std::uint64_t count = 0;
    std::unique_ptr<CloudThinner> thinner;
    Histograms histograms;
    std::uint64_t firstThinned = 0;
};

Expected<void> SkeletonWriter::Write(const FinishedGrid& grid, SkeletonSummary& summary) {
    if (auto created = Create(); !created) return created;
    RecordScanner<GridCellRecord> cells(*grid.cells100, grid.cellCount);
    parallel::OrderedSteps<Batch> steps;
    steps.take = [&](Batch& batch) -> Expected<bool> {
        batch.count = 0;
        while (batch.count < kBatchPoints) {
            const auto cell = cells.Peek();
            if (!cell) return ErrorOf(cell);
            if (*cell == nullptr) break;
            if (batch.count != 0 && (*cell)->count > kBatchPoints - batch.count) break;
            if (batch.count == 0) batch.first = (*cell)->offset;
            batch.count += (*cell)->count;
            cells.Take();
        }
        return batch.count != 0;
    };
    steps.work = [&](Batch& batch) -> Expected<void> {
        if (batch.thinner == nullptr) {
            batch.thinner = std::make_unique<CloudThinner>(*grid.points, size_,
                                                           [this] { return pool_.Stopping(); });
        }
        return batch.thinner->Thin(batch.first, batch.count, batch.histograms);
    };
    steps.commit = [&](Batch& batch) -> Expected<void> {
        pool_.Meter().Add(batch.count * sizeof(AlivePoint), batch.count);
        summary.histograms.Take(batch.histograms);
        const auto entered = Enter(batch.thinner->thinned, summary);
        if (!entered) return ErrorOf(entered);
        batch.firstThinned = *entered;
        return {};
    };
    steps.finish = [&](Batch& batch) { return Store(batch.thinner->thinned, batch.firstThinned); };
    auto done = parallel::RunInOrder(pool_, steps);
    return done ? Finish(summary) : done;
}

Expected<std::uint64_t> SkeletonWriter::Enter(const ThinnedPoints& thinned,
                                              SkeletonSummary& summary) {
    for (const ThinnedCell& cell : thinned.cells) {
        if (cell_.points != 0 && cell_.cell == cell.cell) {
            cell_.alive += cell.alive;
            cell_.points += cell.points;
            continue;
        }
        if (auto closed = CloseCell(summary); !closed) return ErrorOf(closed);
        cell_ = cell;
    }
    files_.data.Reserve(thinned.data.size());
    return files_.coordinates.Reserve(thinned.coordinates.size());
}

Expected<void> SkeletonWriter::Store(const ThinnedPoints& thinned, std::uint64_t first) {
    auto stored = files_.coordinates.WriteAt(first, thinned.coordinates);
    return stored ? files_.data.WriteAt(first, thinned.data) : stored;
}

Expected<void> SkeletonWriter::CloseCell(SkeletonSummary& summary) {
    if (cell_.points == 0) return {};
    const auto& [x, y, z] = cell_.cell;
    const detail::SkeletonBlockRecord block{detail::FloorTenth(x),
                                            detail::FloorTenth(y),
                                            detail::FloorTenth(z),
                                            0,
                                            files_.cells.Count(),
                                            0,
                                            0};
    const bool sameBlock =
        block_.count != 0 && block.x == block_.x && block.y == block_.y && block.z == block_.z;
    if (!sameBlock) {
        if (auto closed = CloseBlock(); !closed) return closed;
        block_ = block;
        blockFirst_ = points_;
    }
    ++block_.count;
    summary.aliveDensity.AddCell(static_cast<std::uint32_t>(cell_.alive));
    summary.skeletonDensity.AddCell(cell_.points);
    auto added = files_.cells.Add({x, y, z, 0, points_, cell_.points, 0});
    points_ += cell_.points;
    return added;
}

// The coarse record's bounds and representative follow in WriteCoarse, once the block's points
// can be read back.
Expected<void> SkeletonWriter::CloseBlock() {
    if (block_.count == 0) return {};
    detail::CoarseViewRecord coarse;
    coarse.first = blockFirst_;
    coarse.count = static_cast<std::uint32_t>(points_ - blockFirst_);
    Expected<void> done = files_.blocks.Add(block_);
    return done ? files_.coarse.Add(coarse) : done;
}

Expected<void> SkeletonWriter::Finish(SkeletonSummary& summary) {
    return pool_.RunOne([&]() -> Expected<void> {
        Expected<void> done = CloseCell(summary);
        if (done) done = CloseBlock();
        summary.points = points_;
        return done ? files_.Finish() : done;
    });
}

Expected<void> SkeletonFiles::Create(const ProjectManager& project) {
    Expected<void> done = coordinates.Create(project.gridSkeletCoordPts);
    if (done) done = data.Create(project.gridSkeletDataPts);
    if (done) done = cells.Create(project.viewEntriesDtv);
    if (done) done = blocks.Create(project.viewGridDtv);
    if (done) done = coarse.Create(project.viewGridLv);
    return done;
}

Expected<void> SkeletonFiles::Finish() {
    Expected<void> done = coordinates.Finish();
    if (done) done = data.Finish();
    if (done) done = cells.Finish();
    if (done) done = blocks.Finish();
    if (done) done = coarse.Finish();
    return done;
}

Expected<void> SkeletonFiles::Close() {
    Expected<void> done = coarse.Close();
    if (done) done = coordinates.Close();
    if (done) done = data.Close();
    if (done) done = cells.Close();
    return done ? blocks.Close() : done;
}

Expected<void> SkeletonFiles::WriteCoarse(ImportPool& pool) {
    RecordScanner<detail::CoarseViewRecord> records(coarse.File(), coarse.Count());
    std::uint64_t taken = 0;
    parallel::OrderedSteps<CoarseBatch> steps;
    steps.take = [&](CoarseBatch& batch) -> Expected<bool> {
        batch.firstRecord = taken;
        batch.records.clear();
        for (std::uint64_t points = 0;
             points < kBatchPoints && batch.records.size() < kCoarseRecords;) {
            const auto record = records.Peek();
            if (!record) return ErrorOf(record);
            if (*record == nullptr) break;
            batch.records.push_back(**record);
            points += (*record)->count;
            records.Take();
            ++taken;
        }
        return !batch.records.empty();
    };
    steps.work = [&](CoarseBatch& batch) -> Expected<void> {
        for (detail::CoarseViewRecord& record : batch.records) {
            auto measured = CoarseMeasure(coordinates.File(), record, pool).Measure();
            if (!measured) return measured;
        }
        return {};
    };
    steps.commit = [&](CoarseBatch& batch) -> Expected<void> {
        const std::size_t bytes = batch.records.size() * sizeof(detail::CoarseViewRecord);
        pool.Meter().Add(bytes, 0);
        return coarse.WriteAt(batch.firstRecord, batch.records);
    };
    auto done = parallel::RunInOrder(pool, steps);
    if (!done) return done;
    return pool.RunOne([&] {
        Expected<void> closed = coarse.Finish();
        return closed ? Close() : closed;
    });
}

}  // namespace orvix::importer
