// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "building/scan_evidence.h"
#include "building/storeys/overhead_map.h"

namespace orvix::building {

/// A storey, and what bounds it above and below.
struct StoreyBand {
    Storey storey;
    double next = 0;   ///< the floor above; far up for the highest storey
    double below = 0;  ///< the ceiling below; far down for the lowest storey
    OverheadMap overhead;
};

/// A stretch of a wall: two faces, or one whose other side nobody saw.
///
/// Shape  along the way of `face`, from begin to end; the other face lies `thickness` behind it.
struct WallRun {
    std::size_t face = 0;  ///< place of a line
    std::optional<std::size_t> other;
    double thickness = 0;
    double begin = 0;
    double end = 0;
};

/// The walls of a storey, by their faces.
///
/// A face is one of a wall where it reaches up to what hangs before it, 0.45 m below at most, and no
/// ray went over it. Two faces that look away from each other, 4 to 80 cm apart, are a wall where each
/// is the nearest to the other. A run goes on over a gap over which one of its faces goes on (a
/// lintel, the facade), and over one of up to 1.3 m.
///
/// Order  by face, then along it.
std::vector<WallRun> FindWallRuns(const FaceLines& faces, const ScanEvidence& evidence,
                                  const StoreyBand& band);

}  // namespace orvix::building
