// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "importer/import_options.h"
#include "importer/write/skeleton_writer.h"
#include "importer/write/station_writer.h"
#include "orvix/project/project_manager.h"

namespace orvix::importer {

/// What the small files of a new project are made from.
struct ProjectFacts {
    std::uint64_t points = 0;
    ExtendsT<float> bounds;       ///< of the points
    SimplePointT<double> origin;  ///< of the project's own frame
    SkeletonSize skeletonSize = SkeletonSize::TenCentimetres;
    const SkeletonSummary* skeleton = nullptr;
    std::uint32_t stationCount = 0;
    std::vector<StationRecord> stations;  ///< those with a pose
};

/// The skeleton's voxel size, metres.
double ScaleOf(SkeletonSize size);
/// The head file's record.
CLOUD_HEADER HeadOf(const ProjectFacts& facts);
/// The settings of a new project.
PROJECT_SETTINGS SettingsOf(const SkeletonSummary& summary);

/// Writes the files beside a project's points: histograms, stations, transform, head and settings.
///
/// Order    last of all, the project is opened and the point files' sizes are compared with the
///          head, so that nothing incomplete appears under the project's name.
/// Errors   those of SyncedFile and WriteWholeFile, which reads each file back; Failure for a project that does not open or a file of another
///          size.
Expected<void> WriteProjectRecords(ProjectManager& project, const ProjectFacts& facts);

}  // namespace orvix::importer
