// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"
#include "orvix/project/project_manager.h"

namespace orvix::detail {

/// Fills every path member of `manager` from a project file's path and touches nothing on disk;
/// it reads one file, Index/network, whose last line names the folder that holds the grid files
/// in place of Index. `ProjectManager::Set` builds its paths here and then makes the folders;
/// the check and the summary, which must leave a project as it is, build them here alone.
///
///     ProjectManager paths;
///     BuildPaths(paths, L"scan.prj");   // paths.gridPts is scan_Project_Files/Index/Grid.pts
///
/// Boundaries a line ends at "\n" or "\r\n", and the last one may lack it. An empty network file,
///            or one that cannot be read, redirects nothing. Its bytes are UTF-8.
void BuildPaths(ProjectManager& manager, const CString& projectFile);

/// Empties every path member.
void ClearPaths(ProjectManager& manager);

/// `BuildPaths` for a project that must be there.
///
/// Errors     BadInput unless `projectFile` names an existing file with its project-files folder.
Expected<void> FindProject(ProjectManager& manager, const CString& projectFile);

/// Where a project stores its planes, where they are written until they are complete, and the lock
/// of who writes them.
CString SavedPlanesPath(const ProjectManager& paths);
CString UnfinishedPlanesPath(const ProjectManager& paths);
CString PlanesLockPath(const ProjectManager& paths);

/// The same of the model of its building.
CString SavedModelPath(const ProjectManager& paths);
CString UnfinishedModelPath(const ProjectManager& paths);
CString ModelLockPath(const ProjectManager& paths);

}  // namespace orvix::detail
