// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "orvix/project/check/clean_stretches.h"

namespace orvix::detail {

/// Checks the grid: index levels against each other, every point against its cells, and the
/// header's count, bounds and stations against the points. Returns what LookAtCells has shown, for
/// the skeleton's check; nothing where the indexes are not sound enough for it.
std::vector<CellStretch> CheckGrid(CheckLog& log, const ProjectManager& paths,
                                   const GridFiles& grid, const CLOUD_HEADER& head,
                                   const BlockRunner& run);

}  // namespace orvix::detail
