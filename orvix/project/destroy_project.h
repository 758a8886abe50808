// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"
#include "orvix/project/project_manager.h"

namespace orvix::detail {

/// The files that belong to a project, in the order in which `ProjectManager::Destroy` asks for
/// their removal; the project file is among them.
std::vector<CString> OwnedFilesOf(const ProjectManager& paths);

/// Removes a project so that it is either there or gone: a mark in its folder says that it goes,
/// before the first file does, and stays until the last has gone. The project file goes after all
/// others. Choose this over `ProjectManager::Destroy`, which asks for each removal once and ignores
/// the answers.
///
/// Boundaries nothing outside the project's own folder is removed, neither where Index/network points
///            to nor behind a link. What people made stays, as with `ProjectManager::Destroy`.
/// Errors     Failure with the name of what could not be removed; a repeated call goes on.
// BEHAVIOUR C17, C18
Expected<void> DestroyProject(const CString& project);

/// Whether the project was to be removed and some of it is still there, with its project file or
/// without.
bool IsHalfDestroyed(const CString& project);

}  // namespace orvix::detail
