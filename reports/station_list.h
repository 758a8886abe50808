// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"
#include "orvix/points/records.h"
#include "output/picture/stations_picture.h"

namespace orvix::reports {

/// A station of a project, as its files and points tell it.
struct ListedStation {
    std::size_t number = 0;
    std::optional<std::string> name;
    std::optional<SimplePointT<double>> position;      ///< world
    std::optional<std::array<double, 4>> orientation;  ///< axis x, y, z; angle, radians
    std::uint64_t points = 0;
    std::uint16_t lowest = 0;  ///< intensity of its points, meaningful where there are any
    std::uint16_t highest = 0;
};

struct StationList {
    std::vector<ListedStation> stations;
    std::optional<output::StationsPicture> picture;
};

enum class WantPicture { No, Yes };

/// Reads the stations of a project: their files, and every point for counts and intensities.
///
/// Errors   Damaged for a station file that is not right or a point of a station that the head
///          file does not count; Cancelled when `proceed` says so.
/// Cost     a pass over Grid.pts; the picture reads up to two million skeleton points more.
Expected<StationList> ListStations(const CString& project, WantPicture wanted,
                                   const std::function<bool()>& proceed);

}  // namespace orvix::reports
