// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "reports/world_project.h"
#include "view/data/cell_rows.h"
#include "view/data/record_file.h"

namespace orvix::view {

/// The parts of a project that are sent as they lie.
struct ProjectFiles {
    RecordFile points;
    RecordFile skeleton;
    RecordFile skeletonData;
    CellIndex cells;

    static Expected<ProjectFiles> Open(const reports::WorldProject& project);
};

/// What `GET project` answers but for the settings of the searches: names, counts, places, what a
/// record holds and which of it varies.
///
/// Errors  those of reading the skeleton's data. What is damaged and need not be whole to look at the
///         project is a sentence in `warnings`.
/// Cost    256 stretches of the skeleton's data, and the files of the stations.
Expected<Json> ProjectJson(const reports::WorldProject& project, const ProjectFiles& files);

/// [x, y, z].
Json JsonOf(const SimplePointT<double>& p);

}  // namespace orvix::view
