// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "detection/found_plane.h"
#include "orvix/platform/error.h"
#include "parallel/pool.h"

namespace orvix::detection {

/// Lets planes that meet share the line in which they meet: their outlines end on it where they end
/// beside it, and where three planes meet, in one corner.
///
/// A rim lies beside a line where it is no further away than two pixels of its outline and what the
/// tolerances of both planes leave open at their angle, and where the other plane is there: by its own
/// rim, or by its surface, which may run on to both sides.
///
/// Order   a function of the planes alone; the line of two planes is the same for both.
/// Cost    the planes' boxes are compared along one axis; edges with the lines of the plane's own
///         neighbours. On all threads.
/// Source  planes that meet are intersected pairwise as in L. Nan, P. Wonka: PolyFit (2017), but no
///         face is added or removed.
Expected<void> ShareLines(std::vector<FoundPlane>& planes, const parallel::Pool& pool);

}  // namespace orvix::detection
