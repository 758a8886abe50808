// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

namespace orvix::importer {

/// The shares of an import's memory.
struct MemoryPlan {
    unsigned workers = 1;
    std::uint64_t poolBytes = 0;          ///< of sorted points kept in memory
    std::uint64_t memoryBlockPoints = 0;  ///< a block when runs in memory are merged
    std::uint64_t fileBlockPoints = 0;    ///< a block when runs on disk are merged
    /// Pieces of fewer points are joined until there are this many, so that the number of runs
    /// stays in proportion.
    std::uint64_t shortPiecePoints = 16'384;
    std::uint64_t joinedPoints = 65'536;
    std::uint32_t mergeRuns = 64;              ///< runs on disk merged at once
    std::uint64_t leastTaskPoints = 4u << 20;  ///< a task of fewer would not be worth its files
};

/// Divides a limit on the process's resident memory among workers, blocks and sorted points.
///
/// While it is decoded, a worker's piece of input takes about 24 MiB; while it is merged, a block
/// takes up to 240 bytes per point. What these and the process itself leave of the limit holds
/// sorted points. Workers are fewer than `threads` where a third of the limit does not hold their
/// pieces.
///
/// Units      bytes; `threads` 0 means one per core.
/// Boundaries an import needs more than a limit under 64 MiB, and takes it.
MemoryPlan PlanMemory(std::uint64_t limitBytes, unsigned threads);

}  // namespace orvix::importer
