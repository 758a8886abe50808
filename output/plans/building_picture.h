// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "building/building.h"
#include "output/picture/canvas.h"
#include "output/plans/draw_plans.h"

namespace orvix::output {

/// What the picture of a building shows.
struct BuildingPicture {
    struct Point {
        SimplePointT<float> position;  ///< the building's frame
        bool ceiling = false;          ///< left out, so as not to hide the rooms
    };
    building::Building building;
    PlanOptions plans;
    std::vector<Point> points;  ///< of the scan; none: it is not shown
    double spacing = 0.05;      ///< metres between the points, about
    std::string title;
    std::string subtitle;
};

/// Draws a building: of each storey its plan and, beside it, the storey cut open, seen obliquely from
/// above; then the whole with its roof from two sides; with points, first the scan beside the storeys
/// one over the other, cut open at the topmost one's cut.
///
/// Order  the same input gives the same picture, bit by bit.
/// Boundaries of more storeys than 12 the lowest 12 have rows of their own.
Canvas DrawBuilding(const BuildingPicture& picture);

/// The picture of a building as it was found: its numbers in title and subtitle, no points.
BuildingPicture PictureOf(const building::Building& building, const PlanOptions& plans = {});

}  // namespace orvix::output
