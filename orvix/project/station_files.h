// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "orvix/points/records.h"
#include "orvix/project/project_manager.h"

namespace orvix::detail {

/// Where a station's files are.
struct StationPaths {
    CString position;     ///< station_N.pos
    CString orientation;  ///< station_N.orientation
    CString intensities;  ///< station_N.intens
    CString name;         ///< station_N.name
};
StationPaths StationPathsOf(const ProjectManager& project, int station);

/// What a station's files tell; a file that is not there tells nothing.
struct StationFiles {
    std::optional<SimplePointT<double>> position;            ///< the project's own frame
    std::optional<std::array<double, 4>> orientation;        ///< unit axis x, y, z; angle, radians
    std::optional<std::array<std::int16_t, 2>> intensities;  ///< least, greatest
    std::optional<std::string> name;                         ///< UTF-8
};

/// Longest name that is read, in bytes.
inline constexpr std::uint64_t kStationNameBytes = 4096;
/// How far an axis' length may be from 1.
inline constexpr double kUnitTolerance = 1e-6;

/// A station file that is not right: "holds 16 bytes instead of 24".
struct StationFault {
    CString file;
    std::string what;
};

/// Reads a station's files and believes only what is right; `ProjectManager`'s own readers take
/// what is there.
///
///     std::vector<StationFault> faults;
///     const StationFiles station = ReadStationFiles(project, 0, faults);
///     if (station.position) Show(*station.position);
///
/// Errors   told in `faults`, and the file counts as telling nothing: a wrong size, a value that is
///          not finite, an axis whose length is not 1, a least intensity above the greatest, a name
///          of more than 4,096 bytes, a file that cannot be read.
StationFiles ReadStationFiles(const ProjectManager& project, int station,
                              std::vector<StationFault>& faults);

}  // namespace orvix::detail
