// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"

namespace orvix::reports {

/// What one level of the grid reported.
struct WalkLevel {
    std::uint64_t cells = 0;
    std::uint64_t points = 0;
    std::uint64_t checksum = 0;  ///< sum of RecordHash over the points read through its cells
};

struct WalkReport {
    WalkLevel level1000;
    WalkLevel level100;
    std::optional<WalkLevel> level10;  ///< empty where the project has no 10 cm level
    std::uint64_t points = 0;          ///< in Grid.pts
    double seconds = 0;
};

/// Called with the share of the points done (0 to 1) and the points read so far at the 1000 cm
/// level; false cancels.
using WalkCallback = std::function<bool(double fraction, std::uint64_t points)>;

/// Walks a whole project the way a host does: the point files through CProjectCore, then every
/// 1000 cm cell, its 100 cm cells and their 10 cm cells through CIndexReader, reading each cell's
/// points through CAlivePointReader. Opening goes through OpenProject, which creates nothing. Every
/// level reads its points on its own, so a level that loses, doubles or changes a point shows in
/// its sum.
///
/// Errors   Failure where the project cannot be opened. Damaged, with the index file, the cell and
///          the numbers, where an entry leads outside the file it counts or not to the entry or
///          point right after those of the cells before it, and where the levels disagree.
/// Threads  batches are read by `threads` threads, 0 for every core; the callback comes on the calling
///          thread alone. The sums do not depend on it.
/// Cost     three reads of the points in batches of 1.5 MiB, one a thread; memory stays flat.
Expected<WalkReport> WalkProject(const CString& project, const WalkCallback& callback = {},
                                 unsigned threads = 1);

}  // namespace orvix::reports
