// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"
#include "orvix/points/records.h"
#include "orvix/project/transform_file.h"

namespace orvix::detail {

/// A project at a glance: its counts, place, extent and stations.
struct ProjectSummary {
    std::uint64_t points = 0;
    std::uint64_t skeletonPoints = 0;
    double scale = 0;  ///< skeleton voxel size, metres
    LocalToWorld frame;
    ExtendsT<double> bounds;  ///< of the points, metres, in the world
    std::uint64_t cells1000 = 0;
    std::uint64_t cells100 = 0;
    std::uint64_t cells10 = 0;  ///< 0 for a project without its 10 cm level
    std::uint32_t stations = 0;
    std::vector<std::string> stationNames;  ///< UTF-8, of the first 65,536; empty: without a name
    std::uint64_t bytes = 0;                ///< of all files of the project, whoever wrote them
};

/// Reads a project's summary. It takes what the files say of themselves; `CheckProject` finds out
/// whether they are right.
///
///     auto summary = SummariseProject(L"scan.prj");
///     if (summary) Print(summary->points, summary->frame.Origin());
///
/// Units    counts come from file sizes, bounds from the head file.
/// Errors   BadInput when there is no such project, Damaged when its head, point or index files
///          cannot be read.
/// Cost     opens two small files and those of the stations, and queries sizes; no point is read.
///          Nothing is changed.
Expected<ProjectSummary> SummariseProject(const CString& projectFile);

}  // namespace orvix::detail
