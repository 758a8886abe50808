// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/sort/record_sorter.h"

#include <algorithm>
#include <array>

#include "importer/sort/block_sorter.h"
#include "importer/sort/run_merge.h"
#include "orvix/geometry/bounds.h"
#include "orvix/points/record_hash.h"
#include "parallel/run_in_order.h"

namespace orvix::importer {
namespace {

/// Writes merged blocks into one file and samples their keys.
class RunSink : public MergeSink {
public:
    RunSink(const GridFrame& frame, SortedRun& run, std::uint64_t points, WrittenSums& sums)
        : frame_(frame), run_(run), sums_(sums) {
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
        const std::uint64_t at = block.offset * sizeof(AlivePoint);
        const std::size_t bytes = block.points.Size() * sizeof(AlivePoint);
        sums_.Add(at, {reinterpret_cast<const std::uint8_t*>(block.points.Data()), bytes});
        return run_.file->WriteAt(at, block.points.Data(), bytes);
    }

private:
    const GridFrame& frame_;
    SortedRun& run_;
    WrittenSums& sums_;
};

std::uint64_t CountPoints(const std::vector<SortedRun>& runs) {
    std::uint64_t points = 0;
    for (const SortedRun& run : runs) points += run.count;
    return points;
}

}  // namespace

/// One piece on its way from bytes to a sorted run.
struct RecordSorter::Job : StationPiece {
    std::span<const ScanPoint> points;  // decoded now, or kept
    const KeptPoints::Piece* kept = nullptr;
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
      dropZeros_(options.dropZeros) {
    for (std::size_t i = 0; i < stations.Count(); ++i) {
        scales_.emplace_back(inputs[stations[i].input].reader->Info(), survey.scans[i].range);
    }
}

// A point that the survey did not see may lie outside its frame; the input changed meanwhile.
void RecordSorter::MakeRecords(Job& job) const {
    job.checksum = job.notANumber = job.zero = job.outOfRange = 0;
    job.changed = false;
    job.records.Resize(job.points.size());
    std::size_t made = 0;
    const SimplePointT<double>& origin = survey_.origin;
    const AttributeScale& scale = scales_[job.station];
    const auto station = static_cast<std::uint16_t>(job.station);
    for (const ScanPoint& point : job.points) {
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

Expected<void> RecordSorter::Sort(const InputStretch& stretch, SortedCloud& cloud) {
    PieceQueue queue(inputs_, stations_);
    auto gone =
        pool_.RunOne([&] { return queue.GoTo(stretch, [this] { return pool_.Stopping(); }); });
    if (!gone) return gone;
    const auto take = [&](Job& job) { return queue.Take(job); };
    const auto decode = [&](Job& job) -> Expected<void> {
        if (job.station >= scales_.size()) return FailChanged(inputs_[job.input].path);
        if (auto decoded = job.Decode(); !decoded) return decoded;
        job.points = job.decoded.points;
        MakeRecords(job);
        return {};
    };
    auto sorted = SortPieces(take, decode, cloud);
    if (sorted) FlushSmall(cloud);
    return sorted;
}

Expected<void> RecordSorter::SortAll(KeptPoints& kept, SortedCloud& cloud) {
    if (auto sorted = SortKept(kept, cloud); !sorted) return sorted;
    const std::size_t last = inputs_.size() - 1;
    if (const auto& rest = kept.End()) return Sort({rest->input, rest->place, last, {}}, cloud);
    FlushSmall(cloud);
    return {};
}

// BEHAVIOUR I20
Expected<void> RecordSorter::SortKept(KeptPoints& kept, SortedCloud& cloud) {
    std::size_t next = 0;
    const auto take = [&](Job& job) -> Expected<bool> {
        if (next == kept.Pieces().size()) return false;
        job.kept = &kept.Pieces()[next++];
        job.input = job.kept->input;
        job.station = job.kept->station;
        job.piece.fileBytes = job.kept->fileBytes;
        job.placement = stations_[job.station].placement;
        return true;
    };
    const auto decode = [&](Job& job) -> Expected<void> {
        job.points = job.kept->points;
        MakeRecords(job);
        kept.Release(*job.kept);
        return {};
    };
    return SortPieces(take, decode, cloud);
}

Expected<void> RecordSorter::SortPieces(const Take& take, const Decode& decode,
                                        SortedCloud& cloud) {
    cloud.decoded.resize(stations_.Count());
    parallel::OrderedSteps<Job> steps;
    steps.take = take;
    steps.work = [&](Job& job) -> Expected<void> {
        if (auto decoded = decode(job); !decoded) return decoded;
        if (job.changed) return FailChanged(inputs_[job.input].path);
        if (job.records.Size() < plan_.shortPiecePoints) return {};
        job.sorted = cloud.pool.Take(job.records.Size());
        job.sorter.Sort(survey_.frame, job.records.All(), job.sorted.data(), nullptr);
        job.run = RunInMemory(survey_.frame, job.sorted);
        return {};
    };
    steps.commit = [&](Job& job) { return Commit(job, cloud); };
    return parallel::RunInOrder(pool_, steps);
}

Expected<void> RecordSorter::Commit(Job& job, SortedCloud& cloud) {
    cloud.decoded[job.station] += job.points.size();
    if (job.notANumber != 0) cloud.rejected[kNotANumber] += job.notANumber;
    if (job.zero != 0) cloud.rejected[kZero] += job.zero;
    if (job.outOfRange != 0) cloud.rejected[kOutOfRange] += job.outOfRange;
    cloud.checksum += job.checksum;
    pool_.Meter().Add(job.Bytes(), job.points.size());
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

void SortedCloud::Clear() {
    runs.clear();
    pool.Clear();
    points = checksum = 0;
    rejected.clear();
    decoded.clear();
}

Expected<void> CheckDecoded(const std::vector<std::uint64_t>& decoded,
                            const std::vector<ScanInput>& inputs, const StationTable& stations,
                            const Survey& survey) {
    for (std::size_t i = 0; i < stations.Count(); ++i) {
        const std::uint64_t met = i < decoded.size() ? decoded[i] : 0;
        if (met != survey.scans[i].points) return FailChanged(inputs[stations[i].input].path);
    }
    return {};
}

Rejections PointlessOf(const Survey& survey) {
    PointlessRecords all;
    for (const SurveyedScan& scan : survey.scans) all.Join(scan.pointless);
    Rejections rejected;
    if (all.malformed != 0) rejected[kMalformed] = all.malformed;
    if (all.noReturn != 0) rejected[kNoReturn] = all.noReturn;
    if (all.invalid != 0) rejected[kInvalid] = all.invalid;
    if (all.directionOnly != 0) rejected[kDirectionOnly] = all.directionOnly;
    return rejected;
}

Expected<SortedRun> MergeToFile(const std::vector<SortedRun>& runs, const GridFrame& frame,
                                std::uint64_t blockPoints, const CString& path, WrittenSums& sums,
                                ImportPool& pool) {
    SortedRun merged;
    merged.stride = kFileStride;
    merged.file = std::make_shared<SyncedFile>();
    Expected<void> done = merged.file->Create(path, Durability::Temporary);
    RunSink sink(frame, merged, CountPoints(runs), sums);
    if (done) done = MergeRuns(runs, frame, {.blockPoints = blockPoints}, pool, sink);
    if (!done) return ErrorOf(done);
    return merged;
}

}  // namespace orvix::importer
