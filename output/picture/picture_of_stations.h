// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "output/picture/stations_picture.h"
#include "reports/station_list.h"

namespace orvix::output {

/// What DrawStations draws of a project: a mark for each station that has a position, two million
/// points of the skeleton at most, and their numbers in the title.
StationsPicture PictureOf(const reports::WorldProject& project,
                          const std::vector<reports::ListedStation>& stations);

}  // namespace orvix::output
