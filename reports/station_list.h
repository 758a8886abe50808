// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "orvix/points/records.h"
#include "reports/world_project.h"

namespace orvix::reports {

/// A station of a project, from its files and from the points that name it.
struct ListedStation {
    std::size_t number = 0;
    std::optional<std::string> name;
    std::optional<SimplePointT<double>> position;      ///< world
    std::optional<std::array<double, 4>> orientation;  ///< axis x, y, z; angle, radians
    std::uint64_t points = 0;
    std::uint16_t lowest = 0;  ///< intensity of its points, meaningful where there are any
    std::uint16_t highest = 0;
};

/// Reads the stations of a project: their files, and every point for counts and intensities.
///
/// Order    by number: a station's place in the list is its number.
/// Errors   Damaged for a station file that is not right or a point of a station that the head
///          file does not count; Cancelled when `proceed` says so.
/// Cost     a pass over Grid.pts.
Expected<std::vector<ListedStation>> ListStations(const WorldProject& project,
                                                  const std::function<bool()>& proceed);

/// Where the scanners stood, project frame, each at the place of its station's number; none for a
/// station without a position's file. Of such a file values that it lacks are 0, as
/// ProjectManager::GetScanPosition takes it.
///
/// Errors   a file that is there and cannot be read.
Expected<std::vector<std::optional<SimplePointT<double>>>> NumberedScanners(
    const ProjectManager& manager);

/// The same of the stations that have a position's file, by number.
Expected<std::vector<SimplePointT<double>>> ScannerPositions(const ProjectManager& manager);

}  // namespace orvix::reports
