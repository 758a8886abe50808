// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

#include "detection/plane_search.h"
#include "orvix/project/open_project.h"
#include "orvix/project/transform_file.h"
#include "output/picture/planes_picture.h"

namespace orvix::output {

/// Writes every point with the number and the colour of its plane as one binary PLY file: x, y, z
/// (doubles, world), red, green, blue, plane (int, 0 for none); in the order of the point file.
///
/// Errors   NoSpace or Failure, with the path, when writing fails.
/// Cost     one pass over the points through a buffer of 1 MiB, 31 bytes a point.
Expected<void> WritePlanePoints(const CString& path, detail::OpenProject& project,
                                const detection::PlaneSearch& search,
                                const detail::LocalToWorld& frame);

/// Writes plane numbers, 0 for none, into the first value of the points' DCLC pairs, in place: in
/// Grid.pts and in the skeleton. Nothing else changes. Points are changed one after the other: who
/// interrupts it may run it again.
///
/// Errors   Failure where the point files cannot be written or `proceed` says no (Cancelled);
///          BadInput for more than 65,535 planes.
Expected<void> ApplyPlaneNumbers(const CString& project, const detection::PlaneSearch& search,
                                 const std::function<bool()>& proceed);

/// Every k-th point, three million at most, with its plane, for a picture.
std::vector<PlanesPicture::Point> PointsForPicture(detail::OpenProject& project,
                                                   const detection::PlaneSearch& search,
                                                   const detail::LocalToWorld& frame);

}  // namespace orvix::output
