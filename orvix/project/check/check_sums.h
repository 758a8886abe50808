// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/project/check/check_log.h"
#include "orvix/project/project_manager.h"

namespace orvix::detail {

/// Compares a project's files with the sizes and sums that its manifest holds of them: with
/// SumDepth::Records the small ones, with SumDepth::All every one. Names a file's damaged blocks and
/// their bytes.
///
/// Boundaries a project without a manifest has no sums, and is whole. Point files that were opened
///            for writing since they were summed (WrittenMarkPath) are not compared, but named.
SumReport CheckSums(CheckLog& log, const ProjectManager& paths, const CheckOptions& options);

}  // namespace orvix::detail
