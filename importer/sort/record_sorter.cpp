// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/sort/record_sorter.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "importer/sort/block_sorter.h"
#include "importer/sort/run_merge.h"
#include "orvix/geometry/bounds.h"
#include "orvix/platform/path.h"
#include "orvix/points/record_hash.h"
#include "parallel/run_in_order.h"

namespace orvix::importer {
namespace {

// BEHAVIOUR I20
tl::unexpected<Error> Changed(const CString& path) {
    return Fail(ErrorCode::BadInput,
                fmt::format("{} changed while it was being imported; import it again once it is "
                            "complete",
                            platform::ToUtf8(path)));
}

/// Writes merged blocks into one file and samples their keys.
class RunSink : public MergeSink {
public:
    RunSink(const GridFrame& frame, SortedRun& run, std::uint64_t points)
        : frame_(frame), run_(run) {
        run_.samples.resize((points + kFileStride - 1) / kFileStride);
    }
    Expected<void> Commit(MergedBlock& block) override {
        block.offset = run_.count;
        run_.count += block.points.Size();
        return {};
    }
    Expected<void> Store(const MergedBlock& block) override {
        const std::uint64_t end = block.offset + block.points.Size();
        std::uint64_t sample = (block.offset + kFileStride - 1) / kFileStride;
        for (; sample * kFileStride < end; ++sample) {
            const auto place = static_cast<std::size_t>(sample * kFileStride - block.offset);
            run_.samples[sample] = frame_.KeyOf(block.points[place]);
        }
        return run_.file->WriteAt(block.offset * sizeof(AlivePoint), block.points.Data(),
                                  block.points.Size() * sizeof(AlivePoint));
    }

private:
    const GridFrame& frame_;
    SortedRun& run_;
};

std::uint64_t CountPoints(const std::vector<SortedRun>& runs) {
    std::uint64_t points = 0;
    for (const SortedRun& run : runs) points += run.count;
    return points;
}

}  // namespace

/// One piece on its way from bytes to a sorted run.
struct RecordSorter::Job : StationPiece {
    RawBuffer<AlivePoint> records;
    std::span<AlivePoint> sorted;
    BlockSorter sorter;
    ExtendsT<float> bounds;
    std::uint64_t checksum = 0;
    std::uint64_t notANumber = 0;
    std::uint64_t zero = 0;
    std::uint64_t outOfRange = 0;
    bool changed = false;
    SortedRun run;
};

RecordSorter::RecordSorter(const std::vector<ScanInput>& inputs, StationTable& stations,
                           const Survey& survey, const ImportOptions& options,
                           const MemoryPlan& plan, ImportPool& pool)
    : inputs_(inputs),
      stations_(stations),
      survey_(survey),
      plan_(plan),
      pool_(pool),
      dropZeros_(options.dropZeros),
      met_(stations.Count()) {
    for (std::size_t i = 0; i < stations.Count(); ++i) {
        scales_.emplace_back(inputs[stations[i].input].reader->Info(), survey.scans[i].range);
    }
}

bool RecordSorter::WillSpill() const {
    return survey_.usable * sizeof(AlivePoint) > plan_.poolBytes;
}

// A point that the survey did not see may lie outside its frame; the input changed meanwhile.
void RecordSorter::MakeRecords(Job& job) const {
    job.checksum = job.notANumber = job.zero = job.outOfRange = 0;
    job.changed = false;
    job.records.Resize(job.decoded.points.size());
    std::size_t made = 0;
    const SimplePointT<double>& origin = survey_.origin;
    const AttributeScale& scale = scales_[job.station];
    const auto station = static_cast<std::uint16_t>(job.station);
    for (const ScanPoint& point : job.decoded.points) {
        const PointFault fault = FaultOf(point, dropZeros_);
        if (fault != PointFault::None) {
            ++(fault == PointFault::Zero ? job.zero : job.notANumber);
            continue;
        }
        const SimplePointT<double> world = job.placement.ToWorld(point.x, point.y, point.z);
        if (!InRange(world, origin)) {
            ++job.outOfRange;
            continue;
        }
        AlivePoint& record = job.records[made];
        record = {ToLocal(world.x, origin.x),
                  ToLocal(world.y, origin.y),
                  ToLocal(world.z, origin.z),
                  scale.Pack(point, station),
                  0,
                  0,
                  0};
        if (!survey_.frame.Contains(record)) {
            job.changed = true;
            return;
        }
        if (made == 0)
            job.bounds = {{record.x, record.y, record.z}, {record.x, record.y, record.z}};
        detail::Extend(job.bounds, record);
        job.checksum += detail::RecordHash(record);
        ++made;
    }
    job.records.Resize(made);
}

Expected<void> RecordSorter::FillPool(SortedCloud& cloud, PieceQueue& queue, bool& ended) {
    parallel::OrderedSteps<Job> steps;
    steps.take = [&](Job& job) -> Expected<bool> {
        if (cloud.pool.IsFull()) return false;
        Expected<bool> more = queue.Take(job);
        ended = more && !*more;
        return more;
    };
    steps.work = [&](Job& job) -> Expected<void> {
        if (job.station >= scales_.size()) return Changed(inputs_[job.input].path);
        if (auto decoded = job.Decode(); !decoded) return decoded;
        MakeRecords(job);
        if (job.changed) return Changed(inputs_[job.input].path);
        if (job.records.Size() < plan_.shortPiecePoints) return {};
        job.sorted = cloud.pool.Take(job.records.Size());
        job.sorter.Sort(survey_.frame, job.records.All(), job.sorted.data(), nullptr);
        job.run = RunInMemory(survey_.frame, job.sorted);
        return {};
    };
    steps.commit = [&](Job& job) { return Commit(job, cloud); };
    auto filled = parallel::RunInOrder(pool_, steps);
    if (filled) FlushSmall(cloud);
    return filled;
}

Expected<void> RecordSorter::Commit(Job& job, SortedCloud& cloud) {
    met_[job.station] += job.decoded.points.size();
    if (job.notANumber != 0) cloud.rejected[kNotANumber] += job.notANumber;
    if (job.zero != 0) cloud.rejected[kZero] += job.zero;
    if (job.outOfRange != 0) cloud.rejected[kOutOfRange] += job.outOfRange;
    cloud.checksum += job.checksum;
    pool_.Meter().Add(job.Bytes(), job.decoded.points.size());
    const std::size_t records = job.records.Size();
    if (records == 0) return {};
    if (cloud.points == 0) cloud.bounds = job.bounds;
    cloud.points += records;
    detail::Join(cloud.bounds, job.bounds);
    if (records < plan_.shortPiecePoints) {
        small_.insert(small_.end(), job.records.Data(), job.records.Data() + records);
        if (small_.size() >= plan_.joinedPoints) FlushSmall(cloud);
        return {};
    }
    FlushSmall(cloud);
    cloud.runs.push_back(std::move(job.run));
    return {};
}

void RecordSorter::FlushSmall(SortedCloud& cloud) {
    if (small_.empty()) return;
    const std::span<AlivePoint> sorted = cloud.pool.Take(small_.size());
    smallSorter_.Sort(survey_.frame, small_, sorted.data(), nullptr);
    cloud.runs.push_back(RunInMemory(survey_.frame, sorted));
    small_.clear();
}

Expected<SortedRun> RecordSorter::MergeToDisk(const std::vector<SortedRun>& runs,
                                              std::uint64_t blockPoints, const CString& folder) {
    SortedRun merged;
    merged.stride = kFileStride;
    merged.file = std::make_shared<SyncedFile>();
    const CString path = platform::JoinPath(folder, L"run_" + std::to_wstring(spillNumber_++));
    Expected<void> done = merged.file->Create(path, Durability::Temporary);
    RunSink sink(survey_.frame, merged, CountPoints(runs));
    if (done) done = MergeRuns(runs, survey_.frame, {blockPoints, false}, pool_, sink);
    if (!done) return ErrorOf(done);
    return merged;
}

Expected<void> RecordSorter::Spill(SortedCloud& cloud, const CString& folder) {
    auto run = MergeToDisk(cloud.runs, plan_.memoryBlockPoints, folder);
    if (!run) return ErrorOf(run);
    spilled_.push_back(std::move(*run));
    cloud.runs.clear();
    cloud.pool.Clear();
    return {};
}

// Neighbouring runs are merged into longer ones until all that are left can be merged at once.
Expected<void> RecordSorter::ReduceRuns(SortedCloud& cloud, const CString& folder) {
    while (spilled_.size() > plan_.mergeRuns) {
        std::vector<SortedRun> longer;
        for (std::size_t first = 0; first < spilled_.size(); first += plan_.mergeRuns) {
            const std::size_t end = std::min<std::size_t>(first + plan_.mergeRuns, spilled_.size());
            std::vector<SortedRun> group(
                std::make_move_iterator(spilled_.begin() + static_cast<std::ptrdiff_t>(first)),
                std::make_move_iterator(spilled_.begin() + static_cast<std::ptrdiff_t>(end)));
            auto run = MergeToDisk(group, plan_.fileBlockPoints, folder);
            if (!run) return ErrorOf(run);
            longer.push_back(std::move(*run));
            for (const SortedRun& merged : group) {
                std::error_code ignored;
                platform::RemoveFile(merged.file->Path(), ignored);
            }
        }
        spilled_ = std::move(longer);
    }
    cloud.runs = std::move(spilled_);
    return {};
}

Expected<void> RecordSorter::CheckCounts() const {
    for (std::size_t i = 0; i < met_.size(); ++i) {
        if (met_[i] != survey_.scans[i].points) return Changed(inputs_[stations_[i].input].path);
    }
    return {};
}

void RecordSorter::CountPointless(SortedCloud& cloud) const {
    PointlessRecords all;
    for (const Survey::Scan& scan : survey_.scans) all.Join(scan.pointless);
    if (all.malformed != 0) cloud.rejected[kMalformed] = all.malformed;
    if (all.noReturn != 0) cloud.rejected[kNoReturn] = all.noReturn;
    if (all.invalid != 0) cloud.rejected[kInvalid] = all.invalid;
    if (all.directionOnly != 0) cloud.rejected[kDirectionOnly] = all.directionOnly;
}

Expected<void> RecordSorter::Sort(SortedCloud& cloud, const ScratchFolderSource& scratch) {
    PieceQueue queue(inputs_, stations_);
    if (auto rewound = queue.Rewind(); !rewound) return rewound;
    CString folder;
    for (bool ended = false; !ended;) {
        if (auto filled = FillPool(cloud, queue, ended); !filled) return filled;
        if (ended && spilled_.empty()) break;
        if (cloud.runs.empty()) continue;
        if (folder.empty()) {
            auto made = scratch();
            if (!made) return ErrorOf(made);
            folder = *made;
        }
        if (auto spilled = Spill(cloud, folder); !spilled) return spilled;
    }
    CountPointless(cloud);
    if (auto counted = CheckCounts(); !counted) return counted;
    if (spilled_.empty()) return {};
    cloud.onDisk = true;
    cloud.pool.Release();
    return ReduceRuns(cloud, folder);
}

}  // namespace orvix::importer
