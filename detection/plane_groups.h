// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "detection/found_plane.h"

namespace orvix::detection {

/// Gives the same group number to planes that are pieces of one endless plane.
///
/// A plane joins the first group whose leader, which is the group's first plane, is turned from it
/// by at most 2 degrees and passes its centre within the larger tolerance of the two; a millimetre
/// is added for each metre between their centres, since no direction is exact. Else it leads a
/// group of its own.
///
/// Order  groups by their leaders, from 1; a function of the planes and their order.
/// Cost   some 100 ns for each pair of a plane and a leader of about its direction.
void GroupCoplanar(std::vector<FoundPlane>& planes);

}  // namespace orvix::detection
