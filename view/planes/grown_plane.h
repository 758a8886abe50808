// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "detection/found_plane.h"
#include "orvix/planes/seed/plane_from_seed.h"

namespace orvix::view {

/// A plane grown from a seed as one of the kind that lists and files take: group 0, and without the
/// points it was fitted to.
///
/// Shape  what is within 10 degrees of upright is a wall, within 10 degrees of level a floor or a
///        ceiling, anything else other. The normal points to where most of the scanners stood; without
///        stations up, of what is level in the upper half of `bounds` down, and of a wall away from their
///        middle.
detection::FoundPlane FoundPlaneOf(const detail::SeedPlane& grown,
                                   const std::vector<SimplePointT<double>>& stations,
                                   const ExtendsT<double>& bounds);

/// Why growth ended, as the command says it: edge, outline, reach, budget.
const char* WordOf(PlaneWorm::Ended ended);

}  // namespace orvix::view
