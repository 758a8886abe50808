// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"

namespace orvix::detail {

/// Whether a verb takes a project whose settings record is cut short. Only the check does: such a
/// record is one of its findings.
enum class CutRecord { Refused, Taken };

/// Turns the path that a user typed into the path of a project file that is there.
///
/// Choose it before ProjectManager::Open, which makes folders first and looks for files second, as
/// a host that creates projects wants it. The command looks first: a mistyped name ends in a
/// sentence and leaves nothing behind, and nothing but a project is ever destroyed.
///
/// Errors   BadInput for nothing there, a folder, or a file that is no settings record of a known
///          version; Failure for a file that this user may not read; Damaged for a project file
///          whose project-files folder is gone, or that is cut short beside its folder.
Expected<CString> RequireProject(const std::string& argument, CutRecord cut = CutRecord::Refused);

}  // namespace orvix::detail
