// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "building/building.h"
#include "orvix/platform/error.h"
#include "orvix/platform/export.h"

namespace orvix {
class CProjectCore;
}
namespace orvix::detection {
class PlaneSet;
}

namespace orvix::building {

struct BuildingOptions {
    std::vector<ScanStation> stations;  ///< ascending by number
    /// Turns walls that lie within their tolerance of it parallel or square to the greater part.
    bool orthogonal = false;
    std::uint64_t memoryLimitBytes = std::uint64_t{1} << 30;
    unsigned threads = 0;                  ///< 0: every core; 1: the calling thread alone
    std::function<bool()> proceed;         ///< called often, on the calling thread; false cancels
    std::function<void(double)> progress;  ///< as PlaneSearchOptions::progress
};

/// The building that a scan shows.
///
///     auto building = FindBuilding(core, planes, {.stations = stations});
///     if (!building) return Report(building.error());
///     for (const Room& room : building->rooms) Use(room.plan, room.area);
///
/// Units    metres, project frame, z up; order as building.h has it. The same project, planes and
///          options give the same bits, at any number of threads and on every system; the memory limit
///          matters where it makes the pictures of what stations saw coarser.
/// Errors   Failure where points cannot be mapped; NoMemory; Cancelled. A scan without floors or
///          walls is no error: `remarks` say what it lacks.
/// Lifetime the result borrows nothing.
/// Threads  keeps the core to itself; starts `threads` - 1 more, which have ended when it returns.
/// Cost     one pass over the points, some 60 ns each, and a second for a house, on all threads.
ORVIX_API Expected<Building> FindBuilding(CProjectCore& core, const detection::PlaneSet& planes,
                                          const BuildingOptions& options);

}  // namespace orvix::building
