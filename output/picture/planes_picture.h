// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "orvix/points/records.h"
#include "output/drawing/canvas.h"

namespace orvix::output {

/// What the picture of a cloud's planes shows. Positions are in metres along the world's axes,
/// relative to a place near the cloud.
struct PlanesPicture {
    struct Point {
        SimplePointT<float> position;
        std::uint32_t plane = 0;  ///< its number; 0: on none
        bool ceiling = false;     ///< left out from above, so as not to hide the rooms
    };
    std::vector<Point> points;
    double spacing = 0.1;  ///< metres between points, about
    std::string title;
    std::string subtitle;
};

/// Draws a cloud's planes in distinct colours, what is on none in grey: in plan, obliquely, and
/// from the south and the east, each with its axes, a grid and a scale bar; y is north.
///
/// Order  the same input gives the same picture, bit by bit.
/// Cost   a second for a few million points.
Canvas DrawPlanes(const PlanesPicture& picture);

}  // namespace orvix::output
