// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "building/building.h"
#include "output/drawing/canvas.h"
#include "output/plans/draw_plans.h"

namespace orvix {
class CProjectCore;
}

namespace orvix::output {

/// What the picture of a building shows.
struct BuildingPicture {
    building::Building building;
    PlanOptions plans;
    std::vector<SimplePointT<float>>
        points;             ///< of the scan, in the building's frame; none: no scan
    double spacing = 0.05;  ///< metres between the points, about
    int panelWidth = 904;   ///< pixels of one view; its height follows
    std::string title;
    std::string subtitle;
};

/// Draws a building: of each storey its plan and, beside it, the storey cut open, seen obliquely from
/// above; then the whole with its roof from two sides. With points the scan of each storey stands before
/// its plan, cut open as well.
///
/// Order  the same input gives the same picture, bit by bit.
/// Boundaries of more storeys than 12 the lowest 12 have rows of their own.
Canvas DrawBuilding(const BuildingPicture& picture);

/// The picture of a building as it was found: its numbers in title and subtitle, no points.
BuildingPicture PictureOf(const building::Building& building, const PlanOptions& plans = {});

/// The points of a project's skeleton, four million at most, so that the scan is shown.
void AddScan(CProjectCore& core, BuildingPicture& picture);

}  // namespace orvix::output
