// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "orvix/points/records.h"
#include "orvix/project/project_manager.h"

namespace orvix::detail {

/// The text of scanpos/rtfm.txt, which describes the files beside it.
inline constexpr std::string_view kStationNote =
    "*.dist -> distances in milimeters int[filesize/4]\n"
    "*.pos -> scanner position double[3]\n"
    "*.orientation -> scanner orientation x y z angle double[4]\n"
    "*.angledata -> (vertical and horizontal angles) rowcount colcount vmin hmin vmax hmax "
    "int[2]+double[4]\n";
/// Its path.
CString StationNotePath(const ProjectManager& project);

/// Where a station's files are.
struct StationPaths {
    CString position;     ///< station_N.pos
    CString orientation;  ///< station_N.orientation
    CString intensities;  ///< station_N.intens
    CString name;         ///< station_N.name
};
StationPaths StationPathsOf(const ProjectManager& project, int station);

/// The start of a station's file, as it is.
struct StationBytes {
    std::error_code openError;  ///< set: the file could not be opened, the rest is empty
    std::error_code readError;
    std::uint64_t size = 0;  ///< of the whole file
    std::string bytes;       ///< as many as could be read
};
StationBytes ReadStationBytes(const CString& path, std::uint64_t maxBytes);

/// What a station's files hold; a file that is not there leaves its member empty.
struct StationFiles {
    std::optional<SimplePointT<double>> position;            ///< the project's own frame
    std::optional<std::array<double, 4>> orientation;        ///< unit axis x, y, z; angle, radians
    std::optional<std::array<std::int16_t, 2>> intensities;  ///< lowest, highest
    std::optional<std::string> name;                         ///< UTF-8
};

/// Longest name that is read, in bytes.
inline constexpr std::uint64_t kStationNameBytes = 4096;
/// How far an axis' length may be from 1.
inline constexpr double kUnitTolerance = 1e-6;

/// How many stations there can be: a point's station has 16 bits. A head file may count more.
inline constexpr std::uint32_t kMaxStations = 65'536;

/// The stations of which a project has any file, of the first `stations` and kMaxStations, in
/// ascending order. Ask it before reading all stations of a project: what a head file counts may
/// be far from what is there, and a file that is not there takes as long to open as one that is.
///
/// Boundaries where the folder cannot be listed, all of them: their files say why.
/// Cost       one listing of the folder.
std::vector<int> StationsWithFiles(const ProjectManager& project, std::uint32_t stations);

/// A station file that is not right: "holds 16 bytes instead of 24".
struct StationFault {
    CString file;
    std::string what;
};

/// Reads a station's files and returns only what is right; `ProjectManager`'s own readers take
/// what is there.
///
///     std::vector<StationFault> faults;
///     const StationFiles station = ReadStationFiles(project, 0, faults);
///     if (station.position) Show(*station.position);
///
/// Errors   added to `faults`, and the member stays empty: a wrong size, a value that is not
///          finite, an axis whose length is not 1, a lowest intensity above the highest, a name of
///          more than 4,096 bytes, a file that cannot be read.
StationFiles ReadStationFiles(const ProjectManager& project, int station,
                              std::vector<StationFault>& faults);

}  // namespace orvix::detail
