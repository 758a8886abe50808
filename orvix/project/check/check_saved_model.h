// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/project/check/check_log.h"
#include "orvix/project/project_manager.h"

namespace orvix::detail {

/// Checks the model that a project stores, where it stores one: the file's checksum and sizes, and
/// the coordinates of the blocks that it names. What the model says is for its reader to hold.
void CheckSavedModel(CheckLog& log, const ProjectManager& paths);

}  // namespace orvix::detail
