// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/project/check/check_log.h"
#include "orvix/project/project_manager.h"

namespace orvix::detail {

/// Checks the model that a project stores, where it stores one: the file's checksum and sizes, what
/// `modelFault` says of the model's own bytes, and the coordinates of the blocks that it names.
void CheckSavedModel(CheckLog& log, const ProjectManager& paths, const ModelFault& modelFault);

}  // namespace orvix::detail
