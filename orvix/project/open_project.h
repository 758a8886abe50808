// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"
#include "orvix/project/project_core.h"
#include "orvix/project/project_manager.h"

namespace orvix::detail {

/// A project opened for reading: ProjectManager with its paths, settings and header, CProjectCore
/// with its point files. Closes them at its end; readers must be gone by then.
///
/// ProjectManager::Open is for hosts: it makes the folders that are missing, writes the note in the
/// station folder and asks for leave to write. The command creates and changes nothing here, so a
/// project on a read-only disk will do, and a verb that is refused has left no trace.
///
/// Errors   Damaged for a missing file, Failure for one that may not be read, each naming the file.
class OpenProject {
public:
    static Expected<std::unique_ptr<OpenProject>> Open(const CString& project);
    /// Whether a host could open it too: every file that a project needs may be written.
    [[nodiscard]] Expected<void> RequireWritable() const;
    ~OpenProject();
    OpenProject(const OpenProject&) = delete;
    OpenProject& operator=(const OpenProject&) = delete;

    ProjectManager& Manager() { return manager_; }
    const ProjectManager& Manager() const { return manager_; }
    CProjectCore& Core() { return core_; }

private:
    OpenProject() = default;

    ProjectManager manager_;
    CProjectCore core_;
};

}  // namespace orvix::detail
