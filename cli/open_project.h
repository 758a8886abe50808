// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"
#include "orvix/project/project_core.h"
#include "orvix/project/project_manager.h"

namespace orvix::cli {

/// A project opened the way a host opens it: ProjectManager::Open, then CProjectCore with its
/// paths. Closes both at its end; readers must be gone by then.
///
/// Errors   Damaged for a missing file, Failure for one that may not be written (a project is
///          opened for its host to change), each naming the file.
class OpenProject {
public:
    static Expected<std::unique_ptr<OpenProject>> Open(const CString& project);
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

}  // namespace orvix::cli
