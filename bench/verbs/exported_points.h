// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/platform/text.h"
#include "orvix/project/project_manager.h"
#include "reports/classification.h"

/// What verbs made, read back plainly and held against the point file. A difference ends the bench.
namespace orvix::bench {

bool IsText(const CString& exported);

/// Each record of a PLY, LAS or text file against its point: position and intensity.
void RequireSamePoints(const ProjectManager& paths, const CString& exported);

/// Each point's class, and each skeleton point's, against its height.
void RequireClasses(const ProjectManager& paths, const reports::Classification& classes);

/// The digits of every point's world coordinates, made by std::to_chars and dropped: their number.
std::uint64_t DigitsOf(const ProjectManager& paths);

}  // namespace orvix::bench
