// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/geometry/bounds.h"
#include "orvix/geometry/plane_frame.h"
#include "orvix/geometry/plane_outline.h"
#include "orvix/geometry/polygon_index.h"

namespace orvix::detail {

/// What FittedPlane derives from its points in 2D, and the bound that a caller gave it.
///
/// Never changed once shared: a plane that gets a new outline or bound gets a new shape, so that
/// copies of a plane may share one. Outline and bound each keep the frame they are in.
struct PlaneShape {
    PlaneFrame frame;
    Extends2DT<double> extents = NoBounds<Extends2DT<double>>();
    PlaneOutline outline;
    PolygonIndex contour;  // of the outline

    PlaneFrame boundFrame;
    PolygonIndex bound;
};

}  // namespace orvix::detail
