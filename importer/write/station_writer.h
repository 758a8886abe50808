// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "importer/scans/scan_pose.h"
#include "orvix/platform/error.h"
#include "orvix/project/project_manager.h"

namespace orvix::importer {

/// What the files of one station tell.
struct StationRecord {
    std::size_t number = 0;
    std::string name;  ///< UTF-8
    ScanPose pose;     ///< in the project's own frame
    std::optional<std::pair<std::uint16_t, std::uint16_t>> intensities;  ///< least, greatest
};

/// Writes station_N.pos, .orientation, .name and, where intensities are told, .intens into the
/// project's scanpos folder.
///
/// Boundaries intensities above 32767 are told as 32767, the greatest that the file can hold.
/// Errors   as SyncedFile.
Expected<void> WriteStation(const ProjectManager& project, const StationRecord& station);

}  // namespace orvix::importer
