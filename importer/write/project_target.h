// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"

namespace orvix::importer {

/// The paths of a project and of the files that an import works with beside it.
struct TargetNames {
    explicit TargetNames(const CString& target);

    CString project;         // scan.prj
    CString files;           // scan_Project_Files
    CString workingProject;  // scan.importing.prj
    CString workingFiles;    // scan.importing_Project_Files
    CString aside;           // scan.importing_Replaced_Files
    CString lock;            // scan.importing.lock
};

/// What to do with a project that exists already.
enum class ExistingProject { Keep, Replace };

/// Checks that a project can stand at the target: it has a name, in a folder that can be reached.
Expected<void> CheckPlace(const TargetNames& names);

/// Checks that nothing at the target is in the way: a link, a folder, the folder of another
/// project, another program's file, or a project that is to be kept.
Expected<void> CheckTarget(const TargetNames& names, ExistingProject existing);

/// Checks that no files have the working names; without a lock file beside them, no import made
/// them.
Expected<void> RefuseOtherFiles(const TargetNames& names);

}  // namespace orvix::importer
