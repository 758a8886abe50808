// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"
#include "orvix/project/access/project_stamp.h"
#include "orvix/project/project_core.h"
#include "orvix/project/project_manager.h"

namespace orvix::detail {

/// An open project: ProjectManager with its paths, settings and header, CProjectCore with its
/// point files. Opening makes and changes nothing, so a read-only disk will do.
///
/// Choose it over ProjectManager::Open, which is for hosts: that one makes the folders that are
/// missing, writes the note in the station folder, and wants to be able to write.
///
///     auto project = OpenProject::Open(path);
///     if (!project) return ErrorOf(project);
///     auto reader = (*project)->Core().CreateAlivePointReader();
///
/// Errors   Damaged for a missing file, Failure for one that may not be read, each naming the file;
///          Failure where another project took its place while the files were opened.
/// Lifetime closes the files at its end; readers must be gone by then.
class OpenProject {
public:
    /// Opens the point files for reading, once all files that a project needs are there.
    static Expected<std::unique_ptr<OpenProject>> Open(const CString& project);
    /// Reads settings and header as far as they are there, and opens nothing. For a caller that
    /// asks for fewer files: it calls `OpenCores` or `OpenCores4Write` of the core itself.
    static std::unique_ptr<OpenProject> Load(const CString& project);
    /// Whether a host could open it too: every file that a project needs may be written.
    [[nodiscard]] Expected<void> RequireWritable() const;
    /// Opens the point files once more, for writing. Precondition: no reader is left.
    [[nodiscard]] Expected<void> MapForWriting();
    ~OpenProject();
    OpenProject(const OpenProject&) = delete;
    OpenProject& operator=(const OpenProject&) = delete;

    ProjectManager& Manager() { return manager_; }
    const ProjectManager& Manager() const { return manager_; }
    CProjectCore& Core() { return core_; }
    /// Which project was opened.
    [[nodiscard]] const ProjectStamp& Stamp() const { return stamp_; }

private:
    explicit OpenProject(const CString& project) : stamp_(ProjectStamp::Of(project)) {}

    Expected<void> RequireSkeleton();

    ProjectStamp stamp_;
    ProjectManager manager_;
    CProjectCore core_;
};

}  // namespace orvix::detail
