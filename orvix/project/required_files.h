// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"
#include "orvix/project/project_manager.h"

namespace orvix::detail {

/// The nine files without which a project is not complete: its records, its viewer tables, its
/// points and the 100 cm index.
///
/// Order      as they are looked for: the first one that fails is the one that is reported.
/// Lifetime   the addresses are those of the manager's members.
std::array<const CString*, 9> RequiredFilesOf(const ProjectManager& paths);

/// Each of them is there and may be read.
///
/// Errors   Damaged for one that is missing, Failure for one that may not be read, with its name.
Expected<void> RequireReadable(const ProjectManager& paths);

/// Each of them may be written.
Expected<void> RequireWritable(const ProjectManager& paths);

}  // namespace orvix::detail
