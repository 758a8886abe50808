// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "importer/files/raw_buffer.h"
#include "importer/files/synced_file.h"
#include "importer/grid/grid_frame.h"
#include "orvix/platform/error.h"

namespace orvix::importer {

/// Points sorted by cell, in memory or in a file, with the keys of every `stride`-th point.
///
/// The keys show between which two of them a range of cells begins and ends.
///
/// Order     runs are in input order, and so are the points of a run that share a cell.
/// Lifetime  a run in memory borrows its points; a run in a file owns the file.
struct SortedRun {
    const AlivePoint* records = nullptr;  ///< null: the points are in `file`
    std::shared_ptr<SyncedFile> file;
    std::uint64_t first = 0;  ///< where in the file its points begin
    std::uint64_t count = 0;
    std::uint32_t stride = 1;
    std::vector<SortKey> samples;  ///< of points 0, stride, 2 * stride, ...
};

inline constexpr std::uint32_t kMemoryStride = 128;
inline constexpr std::uint32_t kFileStride = 1024;

/// The run of sorted points that stay where they are.
SortedRun RunInMemory(const GridFrame& frame, std::span<const AlivePoint> points);

/// Appends points `first` to `first + count - 1` of a run.
Expected<void> AppendPoints(const SortedRun& run, std::uint64_t first, std::size_t count,
                            RawBuffer<AlivePoint>& out);

/// Appends the points whose keys lie in [low, high).
///
/// Cost  a run in a file is read once, with at most two strides of points beside those wanted.
Expected<void> AppendRange(const SortedRun& run, const GridFrame& frame, const SortKey& low,
                           const SortKey& high, RawBuffer<AlivePoint>& out);

/// The number of points whose keys are below `key`.
Expected<std::uint64_t> CountBelow(const SortedRun& run, const GridFrame& frame,
                                   const SortKey& key);

}  // namespace orvix::importer
