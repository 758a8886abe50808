// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "building/building.h"
#include "building/faces/face_raster.h"
#include "building/faces/square_lines.h"
#include "building/sight/sight_image.h"
#include "orvix/platform/error.h"
#include "parallel/pool.h"

namespace orvix {
class CProjectCore;
}
namespace orvix::detection {
class PlaneSet;
}

namespace orvix::building {

/// What one pass over the points tells of sights and faces.
struct ScanEvidence {
    std::vector<ScanStation> stations;
    std::vector<SightImage> sights;             ///< of each station
    std::vector<detection::FoundPlane> planes;  ///< each normal to the stations that saw the plane
    SquareReport squared;
    FaceLines faces;                      ///< without stations, each line twice: facing either way
    std::vector<FaceRaster> rasters;      ///< of each face line
    std::vector<std::uint64_t> seenFrom;  ///< points, plane by plane, of each station and one more
                                          ///< for all points whose station is not known

    double spacing = 0;  ///< as PlaneSearchSettings::spacing
    /// Of each upright plane, the largest mean distance of its points from it over half a metre.
    std::vector<double> departures;

    /// Points of a plane that a station, by its place, saw.
    [[nodiscard]] std::uint64_t Points(std::size_t plane, std::size_t station) const {
        return seenFrom[plane * (stations.size() + 1) + station];
    }
};

struct EvidenceOptions {
    std::vector<ScanStation> stations;
    std::uint64_t memoryLimitBytes = 0;
    bool orthogonal = false;  ///< SquareLines
};

/// Reads the points once.
///
/// Errors  Failure where they cannot be mapped; Cancelled.
/// Cost    some 60 ns per point, on all threads. Memory: a third of `memoryLimitBytes` for the
///         pictures of what stations saw, whose pixels are as small as that allows, down to 110 KB a
///         station; and a byte for each square of 25 mm of the faces, a hundred million at most.
Expected<ScanEvidence> GatherEvidence(CProjectCore& core, const detection::PlaneSet& planes,
                                      const EvidenceOptions& options, const parallel::Pool& pool);

}  // namespace orvix::building
