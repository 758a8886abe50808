// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "importer/repair/rebuilt_files.h"
#include "importer/repair/repair.h"
#include "importer/repair/repaired_project.h"

namespace orvix::importer {

/// What becomes of each file of a project that was judged, in the order of its files: what the points
/// determine is held against what was made of them, a record of the scans against its sum.
///
/// A record with one flipped bit is made anew under its unfinished name, unless the repair is only
/// tried; nothing else is written.
///
/// Errors  Failure where a file cannot be read; those of writing.
Expected<std::vector<RepairedFile>> DecideFiles(const RepairedProject& project,
                                                const RebuiltFiles& made,
                                                const RepairOptions& options);

}  // namespace orvix::importer
