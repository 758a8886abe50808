// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>
#include <vector>

#include "detection/found_plane.h"
#include "detection/growth/cell_map.h"

namespace orvix::detection {

/// Decides what a plane is and to which side its normal points, as PlaneSearch promises.
///
///     const PlaneClassifier classifier(map, stations, spacing);
///     classifier.Classify(cells, plane);
///
/// Units    metres, project frame; `spacing` is that between the cloud's points.
/// Lifetime borrows the map and the stations.
/// Threads  Classify may run side by side.
/// Cost     some microseconds for each of the cells that are handed over.
class PlaneClassifier {
public:
    PlaneClassifier(const CellMap& map, const std::vector<Vector>& stations, double spacing);

    /// Sets kind, normal and offset; `cells` are some of the plane's, spread over it.
    void Classify(std::span<const CellPlace> cells, FoundPlane& plane) const;

private:
    [[nodiscard]] bool HasMoreBelow(std::span<const CellPlace> cells) const;
    [[nodiscard]] double ShareInSight(std::span<const CellPlace> cells, std::int32_t way,
                                      double metres) const;
    [[nodiscard]] PlaneKind KindOfLevel(std::span<const CellPlace> cells, bool seenFromBelow) const;
    [[nodiscard]] bool FacesStations(const FoundPlane& plane) const;

    const CellMap& map_;
    const std::vector<Vector>& stations_;
    double reach_;   // metres up and down that count
    bool fromAir_;   // the scanner looked down
    Vector middle_;  // of the cells
};

}  // namespace orvix::detection
