// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <system_error>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"
#include "orvix/project/access/import_marks.h"

namespace orvix::importer {

/// The paths of a project and of the files that an import works with beside it.
struct TargetNames {
    explicit TargetNames(const CString& target);

    CString project;  // scan.prj
    CString files;    // scan_Project_Files
    orvix::detail::ImportMarks marks;
};

/// Something has that name, a link that leads nowhere included.
bool IsTaken(const CString& path);

/// Whether a folder holds files at any depth; with an error as soon as one cannot be listed.
bool HoldsFiles(const CString& folder, std::error_code& error);

/// What to do with a project that exists already.
enum class ExistingProject { Keep, Replace };

/// Checks that a project can stand at the target: it has a name, in a folder that can be reached.
Expected<void> CheckPlace(const TargetNames& names);

/// Checks that nothing at the target is in the way: a link, a folder, the folder of another
/// project, another program's file, or a project that is to be kept.
Expected<void> CheckTarget(const TargetNames& names, ExistingProject existing);

/// Checks that nothing has the working names; without an import's note beside it, no import made it.
Expected<void> RefuseOtherFiles(const TargetNames& names);

}  // namespace orvix::importer
