// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace orvix::importer {

/// How an import shares out its memory.
struct MemoryPlan {
    unsigned workers = 1;
    std::uint64_t poolBytes = 0;          ///< sorted points kept before a run goes to disk
    std::uint64_t memoryBlockPoints = 0;  ///< a block when runs in memory are merged
    std::uint64_t fileBlockPoints = 0;    ///< a block when runs on disk are merged
    /// Pieces of fewer points are joined until there are this many, so that the number of runs
    /// stays in proportion.
    std::uint64_t shortPiecePoints = 16'384;
    std::uint64_t joinedPoints = 65'536;
    std::uint32_t mergeRuns = 64;  ///< runs on disk merged at once
};

/// The plan for a limit on the process's resident memory.
///
/// A worker's pieces of input take about 24 MiB while they are decoded, and a block under merge up
/// to 144 bytes a point; what these and the process itself leave of the limit holds sorted points.
/// Workers are fewer than `threads` where a third of the limit does not hold their pieces.
/// Boundaries limits under 64 MiB are overstepped by the least working set.
/// Units      bytes; `threads` 0 means one a core.
MemoryPlan PlanMemory(std::uint64_t limitBytes, unsigned threads);

}  // namespace orvix::importer
