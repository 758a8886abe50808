// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "orvix/points/records.h"
#include "output/drawing/canvas.h"

namespace orvix::output {

/// A station on the picture: where it stands and where its own x axis points.
struct StationMark {
    std::size_t number = 0;
    std::string label;
    SimplePointT<double> position{0, 0, 0};
    SimplePointT<double> ahead{1, 0, 0};
};

/// What the picture of a project's stations shows. Positions are in metres along the world's axes,
/// relative to a point among them.
struct StationsPicture {
    std::vector<SimplePointT<double>> cloud;
    std::vector<std::uint16_t> stations;  ///< of each point
    double spacing = 0.1;                 ///< metres between the cloud's points, about
    std::vector<StationMark> marks;
    std::string title;
    std::string subtitle;
};

/// Draws the cloud in plan, each station's points in a colour of its own (eight colours, over and
/// over), with a mark and the name at each station. What lies more than 0.2 m above the highest
/// station is cut off, so that no ceiling hides the rooms.
///
/// Order  the same input gives the same picture, bit by bit.
Canvas DrawStations(const StationsPicture& picture);

}  // namespace orvix::output
