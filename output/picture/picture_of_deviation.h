// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "output/picture/deviation_picture.h"
#include "reports/deviation/deviation.h"

namespace orvix::output {

/// What DrawDeviation draws of a comparison: every square, cut a little above the highest scanner where
/// scanners are known, so that no roof hides the rooms.
DeviationPicture PictureOf(const reports::WorldProject& project,
                           const std::vector<reports::DrawnElement>& elements,
                           const reports::DeviationReport& report, double tolerance);

}  // namespace orvix::output
