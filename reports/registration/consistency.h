// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "reports/planes_report.h"
#include "reports/registration/station_adjustment.h"

namespace orvix::reports {

/// How one station saw the planes, against all others that saw them.
///
/// Units  metres and radians, the world's axes.
struct StationConsistency {
    std::size_t number = 0;
    std::optional<std::string> name;
    std::optional<SimplePointT<double>> position;  ///< world
    std::size_t planes = 0;                        ///< that another station saw as well
    std::size_t patches = 0;                       ///< of them
    double offset = 0;  ///< median over the planes of |offset along the normal| against the others
    double turn = 0;    ///< median over the planes of the turn against the others
    std::size_t turnPlanes = 0;  ///< planes that show a turn; without any `turn` is 0
    /// What would bring it onto the others: its points are shifted by `shift`, and turned by the length
    /// of `rotation` about its direction, through `centre`.
    SimplePointT<double> shift, rotation;
    SimplePointT<double> shiftSigma, rotationSigma;  ///< standard deviations
    SimplePointT<double> centre;         ///< world: its position, or the middle of its patches
    std::array<double, 6> directions{};  ///< as of StationMotion
    std::size_t weak = 0;                ///< directions that what it saw does not decide
    /// Beyond a millimetre or 10 millidegrees, and three times what is uncertain of it.
    bool moved = false;
};

/// Two stations that saw the same planes.
struct PairConsistency {
    std::size_t first = 0, second = 0;  ///< numbers of stations
    std::size_t planes = 0;
    std::size_t patches = 0;
    double offset = 0;  ///< median over the planes of |offset| between the two
    SimplePointT<double> shift,
        rotation;  ///< what would bring the second onto the first, about its centre
    std::array<double, 6> directions{};
    std::size_t weak = 0;
};

struct ConsistencyReport {
    std::vector<StationConsistency> stations;  ///< by number, those with points on shared planes
    std::vector<PairConsistency> pairs;        ///< by both numbers
    std::size_t planes = 0;
    std::size_t patches = 0;
    double side = 0;    ///< metres: of a patch
    double offset = 0;  ///< median over all stations and planes of |offset|
    std::size_t moved = 0;
    double seconds = 0;
};

struct ConsistencyOptions {
    unsigned threads = 0;
    std::function<bool()> proceed;
    std::function<void(double)> progress;
};

/// Compares how the stations of a project saw the same planes: whether their registration holds. No
/// point is changed.
///
///     auto report = CheckConsistency(project, *finding->set, {.proceed = proceed});
///     for (const StationConsistency& station : report->stations) if (station.moved) Tell(station);
///
/// Planes are cut into patches of 25 cm; of each station's points on a patch the mean height over the
/// plane is compared with that of the other stations (AdjustStations).
///
/// Order   the same at any number of threads.
/// Errors  BadInput where no two stations have points on a plane in common; those of
///         GatherStationPatches.
Expected<ConsistencyReport> CheckConsistency(const WorldProject& project,
                                             const detection::PlaneSet& planes,
                                             const ConsistencyOptions& options);

}  // namespace orvix::reports
