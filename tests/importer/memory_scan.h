// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "importer/memory_plan.h"
#include "importer/scans/scan_survey.h"

namespace orvix::importer::test {

/// A scan in memory, as a format's reader would hand it out.
struct MemoryScan {
    std::vector<ScanPoint> points;
    ScanInfo info{"memory", {}, true, true, true, {}};
    std::size_t pointsPerPiece = 1000;
    std::size_t piecesPerScan = 0;  ///< 0: all pieces belong to the first of info.scans
    std::uint64_t malformedPerPiece = 0;
    bool dearToDecode = false;
    /// Called before each piece is handed out with the number of the pass (0: the first) and of
    /// the piece; an error ends the reading with it.
    std::function<Expected<void>(int pass, std::size_t piece)> before;
};

/// A plan that sorts some thousands of points in many runs, pieces and blocks.
MemoryPlan SmallPlan();

/// Input i is called "scan i".
std::vector<ScanInput> Open(const std::vector<MemoryScan>& scans);

/// Points along the x axis.
MemoryScan LineScan(std::size_t points);

}  // namespace orvix::importer::test
