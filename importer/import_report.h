// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "importer/import_result.h"
#include "importer/scans/scan_survey.h"
#include "importer/scans/station_table.h"

namespace orvix::importer {

/// Enters what the survey found into the report: inputs, counts, stations, origin, and a warning
/// for each scan whose intensities are on no known scale.
void ReportSurvey(const std::vector<ScanInput>& inputs, const StationTable& stations,
                  const Survey& survey, ImportReport& report);

/// A warning for points so far from the project's origin that their coordinates are stored in
/// steps of more than 0.1 mm; else empty.
std::optional<std::string> DistanceWarning(const ExtendsT<float>& bounds);

/// The failure of an import whose inputs hold no point that can be imported, with the reasons.
tl::unexpected<Error> FailWithoutPoints(const CString& firstInput, const ImportReport& report);

/// Whether every point that was read is written or rejected; Failure when one is neither.
Expected<void> CheckAccounted(const ImportReport& report);

}  // namespace orvix::importer
