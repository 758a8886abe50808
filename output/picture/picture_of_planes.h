// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "output/picture/planes_picture.h"
#include "reports/planes_report.h"

namespace orvix::output {

/// What DrawPlanes draws of all planes of a project: every k-th point, three million at most, with
/// its plane, and their numbers in title and subtitle.
PlanesPicture PictureOf(const reports::WorldProject& project,
                        const reports::PlanesFinding& finding);

}  // namespace orvix::output
