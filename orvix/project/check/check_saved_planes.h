// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/project/check/check_log.h"
#include "orvix/project/project_manager.h"

namespace orvix::detail {

/// Checks the planes that a project stores, where it stores any: the file's checksum and every
/// record in it, the points of each plane against the plane of each point, and the points'
/// coordinates against those that were searched.
void CheckSavedPlanes(CheckLog& log, const ProjectManager& paths);

}  // namespace orvix::detail
