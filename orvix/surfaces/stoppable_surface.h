// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <vector>

#include "orvix/geometry/plane_frame.h"
#include "orvix/geometry/plane_outline.h"
#include "orvix/points/records.h"

namespace orvix::detail {

/// The steps from a plane's points to its mesh, for callers who may want to stop on the way: what
/// PointCloudGeometrics::ConstrainedSurface and FacesInsideOutline do, with a function that is asked
/// every few milliseconds whether to go on (empty: nobody is asked). Sorting the points comes before the
/// first question: 50 ms a million.
///
///     if (!ConstrainedSurfaceWhile(points, frame, faces, boundary, proceed)) return Cancelled();
///
/// Errors  false: `proceed` said no, and the lists hold nothing to rely on.

bool ConstrainedSurfaceWhile(std::vector<SimplePointT<double>>& points, const PlaneFrame& frame,
                             std::vector<int>& faces,
                             const std::vector<SimplePointT<double>>& boundary,
                             const std::function<bool()>& proceed);

bool FacesInsideOutlineWhile(const std::vector<SimplePointT<double>>& points,
                             const std::vector<int>& faces, const PlaneFrame& frame,
                             const PlaneOutline& outline, std::vector<int>& kept,
                             const std::function<bool()>& proceed);

}  // namespace orvix::detail
