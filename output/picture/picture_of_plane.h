// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "output/picture/plane_picture.h"
#include "reports/plane_finding.h"

namespace orvix::output {

/// What DrawPlane draws of a plane found: its points and the skeleton's, two million at most of
/// each, its outline, and its numbers in title and subtitle.
PlanePicture PictureOf(const reports::WorldProject& project, const reports::PlaneFinding& finding);

}  // namespace orvix::output
