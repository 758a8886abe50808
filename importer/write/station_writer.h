// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "importer/scans/scan_pose.h"
#include "importer/scans/scan_survey.h"
#include "importer/scans/station_table.h"
#include "orvix/platform/error.h"
#include "orvix/project/project_manager.h"

namespace orvix::importer {

/// What the files of one station hold.
struct StationRecord {
    std::size_t number = 0;
    std::string name;  ///< UTF-8
    ScanPose pose;     ///< in the project's own frame
    std::optional<std::pair<std::uint16_t, std::uint16_t>> intensities;  ///< min, max
};

/// The records of those stations that have a pose, in the order of their numbers.
std::vector<StationRecord> StationRecordsOf(const std::vector<ScanInput>& inputs,
                                            const StationTable& stations, const Survey& survey);

/// Writes station_N.pos, .orientation, .name and, for a station with intensities, .intens into the
/// project's scanpos folder.
///
/// Boundaries intensities above 32767 are stored as 32767, the largest that the file can hold.
/// Errors     as WriteWholeFile.
Expected<void> WriteStation(const ProjectManager& project, const StationRecord& station);

}  // namespace orvix::importer
