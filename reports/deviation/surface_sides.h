// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <vector>

#include "orvix/points/records.h"

namespace orvix::reports {

/// From where the triangles of an element can be seen.
enum class SurfaceSides {
    Front,  ///< they enclose a solid and face outward
    Back,   ///< they enclose one and face inward, all of them
    Both    ///< they enclose nothing: a sheet that stands for whatever it is
};

/// Decides it by the edges and the volume: around a solid each edge is of as many triangles one way as
/// the other way. Order: a function of the triangles. Cost: n log n.
SurfaceSides SidesOf(const std::vector<std::array<SimplePointT<double>, 3>>& triangles);

}  // namespace orvix::reports
