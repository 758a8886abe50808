// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "output/text_file.h"
#include "reports/planes_report.h"

namespace orvix::output {

/// Print outlines in one format each; WriteOutlines chooses among them.
void PrintDxf(TextFile& file, const std::vector<reports::WorldPlane>& planes);
void PrintGeoJson(TextFile& file, const std::vector<reports::WorldPlane>& planes);
void PrintIfc(TextFile& file, const std::vector<reports::WorldPlane>& planes);

}  // namespace orvix::output
