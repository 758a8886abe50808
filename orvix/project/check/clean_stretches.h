// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "orvix/project/check/grid_files.h"
#include "orvix/project/manifest/block_sums.h"

namespace orvix::detail {

/// Some 100 cm cells that follow each other, and what a quick look has shown of their points.
///
/// A stretch is clean where the careful checks of the same cells would report nothing: the look only
/// ever answers "sound", and leaves it to them to find and name what is not. So a project without
/// faults is read once, many cells at a time, and a damaged one as carefully as ever.
struct CellStretch {
    std::uint64_t firstCell = 0;
    std::uint64_t endCell = 0;
    std::uint64_t firstPoint = 0;
    std::uint64_t endPoint = 0;
    bool cleanPoints = false;    ///< each is filed under its cells, and 10 cm cells nest and ascend
    bool cleanSkeleton = false;  ///< its points are the cells', one each, with their data
    ExtendsT<float> bounds;      ///< of the points, where these are clean
    std::uint32_t stations = 0;  ///< one more than the highest that clean points name
};

/// Points of a stretch, and so of a job: enough that opening files does not count, few enough for
/// many cores.
inline constexpr std::uint64_t kStretchPoints = std::uint64_t{1} << 20;

/// Looks at every cell of a grid whose indexes have sound runs.
///
///     const auto stretches = LookAtCells(log, paths, grid, options.runBlocks);
///     if (AllAre(stretches, &CellStretch::cleanPoints)) ...
///
/// Order      that of the cells; together the stretches hold every cell and every point.
/// Boundaries a file that cannot be read, or becomes shorter meanwhile, leaves stretches unclean. A
///            skeleton that has not one point for each of the smallest cells is not looked at.
/// Errors     those of `run`, and a wish to stop, are the log's.
/// Threads    jobs share no state but a count of bytes; `run` may work on several at a time.
/// Cost       reads the points once and the skeleton once, 3 ns a point on one core; memory 1 MiB a
///            job.
std::vector<CellStretch> LookAtCells(CheckLog& log, const ProjectManager& paths,
                                     const GridFiles& grid, const BlockRunner& run,
                                     std::uint64_t stretchPoints = kStretchPoints);

inline bool AllAre(const std::vector<CellStretch>& stretches, bool CellStretch::*clean) {
    for (const CellStretch& stretch : stretches)
        if (!(stretch.*clean)) return false;
    return !stretches.empty();
}

}  // namespace orvix::detail
