// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/project/check/check_points.h"

namespace orvix::detail {

/// Checks the skeleton: the header's count against the two skeleton files, every coordinate
/// against the cell whose run holds it, the view files against the skeleton and the grid, and each
/// point with its data against the cloud's points. What `stretches` have shown to be clean, if
/// anything, is not looked at again.
void CheckSkeleton(CheckLog& log, const ProjectManager& paths, const GridFiles& grid,
                   const CLOUD_HEADER& head, const std::vector<CellStretch>& stretches);

}  // namespace orvix::detail
