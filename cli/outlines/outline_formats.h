// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "cli/planes_report.h"
#include "cli/text_file.h"

namespace orvix::cli {

/// The formats behind WriteOutlines, a file each.
void PrintDxf(TextFile& file, const std::vector<WorldPlane>& planes);
void PrintGeoJson(TextFile& file, const std::vector<WorldPlane>& planes);
void PrintIfc(TextFile& file, const std::vector<WorldPlane>& planes);

}  // namespace orvix::cli
