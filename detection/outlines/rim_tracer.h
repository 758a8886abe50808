// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "detection/outlines/plane_raster.h"
#include "detection/outlines/rim.h"

namespace orvix::detection {

/// Finds all rims of a raster.
///
///     for (const Rim& rim : TraceRims(raster)) Use(rim.corners, rim.twiceArea > 0);
///
/// Pixels that touch only at a corner belong to different pieces if they are filled, and to one
/// hole if they are empty. A walk along a rim that comes back to such a corner has gone around a
/// hole, which becomes a rim of its own: rims touch each other in single corners at most, and no
/// rim touches itself.
///
/// Order  a function of the raster alone; a rim may come before its parent.
/// Cost   linear in the raster's words and in the length of its rims, times the logarithm of the
///        changes in a row; 8 bytes for each change from empty to filled or back along a row.
std::vector<Rim> TraceRims(const PlaneRaster& raster);

}  // namespace orvix::detection
