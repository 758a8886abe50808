// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <string>
#include <vector>

#include "orvix/points/records.h"

namespace orvix::reports {

/// A part of a building as it was drawn: what points are held against.
///
/// Units  metres, world coordinates.
/// Shape  triangles run counter-clockwise seen from the front. Where they enclose a solid, the front is
///        outside whichever way they run.
struct DrawnElement {
    std::string id;    ///< the GlobalId of an IFC element; empty where it has none
    std::string kind;  ///< "IfcWall", "wall"; empty where nothing says
    std::string name;
    std::vector<std::array<SimplePointT<double>, 3>> triangles;
};

}  // namespace orvix::reports
