// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "importer/grid/sort_key.h"
#include "importer/scans/piece_queue.h"
#include "importer/scans/scan_survey.h"
#include "importer/sort/sorted_run.h"
#include "orvix/platform/error.h"

namespace orvix::importer {

/// A stretch of the inputs that becomes one sorted run.
struct SortTask {
    InputStretch stretch;
    std::uint64_t points = 0;  ///< decoded from it
    std::uint64_t bytes = 0;   ///< for progress
};

/// Cuts the inputs at their marks into stretches of at most `mostPoints` points, where the marks
/// allow, in the order of the inputs; about 16 of them where that is fewer points each, though not
/// of fewer than `leastPoints`.
std::vector<SortTask> PlanSorts(const std::vector<InputSurvey>& inputs, std::uint64_t mostPoints,
                                std::uint64_t leastPoints);

/// How many runs there are at each level: as many as sort tasks, then joined by `mergeRuns`, until
/// all that are left can be merged at once.
std::vector<std::uint64_t> RunsByLevel(std::uint64_t sorts, std::uint32_t mergeRuns);

/// A range of whole 100 cm cells, and the place of its points.
struct RangeTask {
    SortKey low;   ///< every cell from here on ...
    SortKey high;  ///< ... to before here
    std::uint64_t first = 0;
    std::uint64_t points = 0;
};

/// Cuts the merged order of runs into ranges, of about a sixteenth of the points, `leastPoints` at
/// least and 64 million at most; a 100 cm cell of more points is a range of its own.
///
/// Cost  memory for about a million keys beside those that the runs hold, 16 bytes for 1,024 points; a
///       block of each run is read for each range.
Expected<std::vector<RangeTask>> PlanRanges(const std::vector<SortedRun>& runs,
                                            const GridFrame& frame, std::uint64_t leastPoints);

}  // namespace orvix::importer
