// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "importer/memory_plan.h"
#include "importer/scans/attribute_scale.h"
#include "importer/scans/piece_queue.h"
#include "importer/scans/rejections.h"
#include "importer/scans/scan_survey.h"
#include "importer/sort/block_sorter.h"
#include "importer/sort/record_pool.h"
#include "importer/sort/sorted_run.h"

namespace orvix::importer {

/// All points of an import, sorted in runs.
struct SortedCloud {
    explicit SortedCloud(std::uint64_t poolBytes) : pool(poolBytes) {}

    RecordPool pool;              ///< owns the points of runs in memory
    std::vector<SortedRun> runs;  ///< in input order
    bool onDisk = false;          ///< the runs are files
    std::uint64_t points = 0;
    std::uint64_t checksum = 0;  ///< sum of RecordHash
    Rejections rejected;
    ExtendsT<float> bounds;  ///< of the points; meaningless without points
};

/// Where temporary files may be written; asked for when the first is needed.
using ScratchFolderSource = std::function<Expected<CString>()>;

/// Makes records of the inputs' points and sorts them by cell: the second pass over the inputs.
///
/// Every piece is decoded, made into records and sorted on its own, in cache. The pieces stay in
/// the pool as short runs; when it is full, they are merged into one run on disk and the pool
/// starts again. A cloud that fits into the pool never touches the disk.
///
/// Order    runs follow the input; where one ends depends on memory and threads, the merged order
///          does not.
/// Errors   those of readers and files; an input that changed since the survey; Cancelled.
class RecordSorter {
public:
    RecordSorter(const std::vector<ScanInput>& inputs, StationTable& stations, const Survey& survey,
                 const ImportOptions& options, const MemoryPlan& plan, ImportPool& pool);

    /// Whether the points are expected to go through the disk.
    [[nodiscard]] bool WillSpill() const;
    Expected<void> Sort(SortedCloud& cloud, const ScratchFolderSource& scratch);

private:
    struct Job;

    void MakeRecords(Job& job) const;
    Expected<void> FillPool(SortedCloud& cloud, PieceQueue& queue, bool& ended);
    Expected<void> Commit(Job& job, SortedCloud& cloud);
    void FlushSmall(SortedCloud& cloud);
    Expected<void> Spill(SortedCloud& cloud, const CString& folder);
    Expected<SortedRun> MergeToDisk(const std::vector<SortedRun>& runs, std::uint64_t blockPoints,
                                    const CString& folder);
    Expected<void> ReduceRuns(SortedCloud& cloud, const CString& folder);
    void CountPointless(SortedCloud& cloud) const;
    Expected<void> CheckCounts() const;

    const std::vector<ScanInput>& inputs_;
    StationTable& stations_;
    const Survey& survey_;
    const MemoryPlan& plan_;
    ImportPool& pool_;
    bool dropZeros_;
    std::vector<AttributeScale> scales_;  // by station
    std::vector<std::uint64_t> met_;      // points decoded, by station
    std::vector<SortedRun> spilled_;
    std::vector<AlivePoint> small_;  // pieces too short to be runs of their own, as they came
    BlockSorter smallSorter_;
    unsigned spillNumber_ = 0;
};

}  // namespace orvix::importer
