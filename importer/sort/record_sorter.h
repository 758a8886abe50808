// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "importer/files/written_sums.h"
#include "importer/memory_plan.h"
#include "importer/scans/attribute_scale.h"
#include "importer/scans/kept_points.h"
#include "importer/scans/piece_queue.h"
#include "importer/scans/rejections.h"
#include "importer/scans/scan_survey.h"
#include "importer/sort/block_sorter.h"
#include "importer/sort/record_pool.h"
#include "importer/sort/sorted_run.h"

namespace orvix::importer {

/// Sorted points, in runs in memory, and what became of those that are not among them.
struct SortedCloud {
    /// Without points; the pool's memory stays.
    void Clear();

    RecordPool pool;              ///< owns the points
    std::vector<SortedRun> runs;  ///< in input order
    std::uint64_t points = 0;
    std::uint64_t checksum = 0;  ///< sum of RecordHash
    Rejections rejected;
    ExtendsT<float> bounds;              ///< of the points; meaningless without points
    std::vector<std::uint64_t> decoded;  ///< points met, with those rejected, by station
};

/// Makes records of the inputs' points and sorts them by cell: the second pass over the inputs.
///
/// Every piece is decoded, made into records and sorted on its own, in cache. The pieces stay in
/// the cloud's pool as short runs.
///
/// Order    runs follow the input; where one ends depends on pieces alone.
/// Errors   those of readers and files; an input that changed since the survey; Cancelled.
class RecordSorter {
public:
    RecordSorter(const std::vector<ScanInput>& inputs, StationTable& stations, const Survey& survey,
                 const ImportOptions& options, const MemoryPlan& plan, ImportPool& pool);

    /// Sorts the points of a stretch of the inputs and adds them to the cloud.
    Expected<void> Sort(const InputStretch& stretch, SortedCloud& cloud);
    /// Sorts the points of all inputs: those kept by the first pass, then what has to be read again.
    Expected<void> SortAll(KeptPoints& kept, SortedCloud& cloud);

private:
    struct Job;

    using Take = std::function<Expected<bool>(Job&)>;
    using Decode = std::function<Expected<void>(Job&)>;

    Expected<void> SortPieces(const Take& take, const Decode& decode, SortedCloud& cloud);
    Expected<void> SortKept(KeptPoints& kept, SortedCloud& cloud);
    void MakeRecords(Job& job) const;
    Expected<void> Commit(Job& job, SortedCloud& cloud);
    void FlushSmall(SortedCloud& cloud);

    const std::vector<ScanInput>& inputs_;
    StationTable& stations_;
    const Survey& survey_;
    const MemoryPlan& plan_;
    ImportPool& pool_;
    bool dropZeros_;
    std::vector<AttributeScale> scales_;  // by station
    std::vector<AlivePoint> small_;       // pieces too short to be runs of their own, as they came
    BlockSorter smallSorter_;
};

/// Whether each station's points were met as often as the survey did. Errors: an input that changed.
Expected<void> CheckDecoded(const std::vector<std::uint64_t>& decoded,
                            const std::vector<ScanInput>& inputs, const StationTable& stations,
                            const Survey& survey);

/// The records without a point that the survey counted, by reason.
Rejections PointlessOf(const Survey& survey);

/// Merges runs into one in a new file, which stays open.
Expected<SortedRun> MergeToFile(const std::vector<SortedRun>& runs, const GridFrame& frame,
                                std::uint64_t blockPoints, const CString& path, WrittenSums& sums,
                                ImportPool& pool);

}  // namespace orvix::importer
