// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "output/picture/consistency_picture.h"
#include "reports/registration/consistency.h"

namespace orvix::output {

/// What DrawConsistency draws of a comparison: its stations, two million points of the skeleton at most.
ConsistencyPicture PictureOf(const reports::WorldProject& project,
                             const reports::ConsistencyReport& report);

}  // namespace orvix::output
