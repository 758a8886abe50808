// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "importer/repair/damage.h"
#include "orvix/platform/error.h"
#include "orvix/platform/path.h"
#include "orvix/project/covered_files.h"
#include "orvix/project/project_manager.h"

namespace orvix::importer {

/// A project under repair: where its files are, how each stands to its sum, and the names of those
/// that are made anew beside them. Held alone: one repair is at work on a project at a time.
///
///     auto project = RepairedProject::Open(path);
///     if (project) done = project->Judge(run);
///
/// Lifetime   the lock ends with the object. Files under unfinished names do not: RemoveUnfinished.
class RepairedProject {
public:
    /// Errors  BadInput where there is no project, Damaged where an import ended half-way, Failure
    ///         where another repair is at work or the manifest cannot be read. A damaged manifest is
    ///         none.
    static Expected<RepairedProject> Open(const CString& project);

    /// Compares the files with the manifest's sums, where there is one.
    ///
    /// Errors  those of reading; a file that the system refuses says nothing about the project.
    Expected<void> Judge(const detail::BlockRunner& run);

    [[nodiscard]] const ProjectManager& Paths() const { return paths_; }
    /// The same with the names of unfinished files for what the points determine.
    [[nodiscard]] const ProjectManager& Unfinished() const { return unfinished_; }
    [[nodiscard]] std::uint64_t Points() const { return points_; }
    [[nodiscard]] const std::optional<detail::Manifest>& Manifest() const { return manifest_; }
    /// Every file that there is, that the manifest names, or that can be made, in that order.
    [[nodiscard]] std::span<const JudgedFile> Files() const { return files_; }
    /// Precondition the points determine the file, or it is Grid.pts.
    [[nodiscard]] const JudgedFile& FileOf(const std::string& name) const;
    [[nodiscard]] bool HasDamagedPoints() const;
    /// Whether something that the points determine is not known to be as it was written.
    [[nodiscard]] bool NeedsBuild() const;

    /// Removes what this repair, or one that was ended, left under unfinished names.
    ///
    /// Returns  the paths that could not be removed.
    [[nodiscard]] std::vector<CString> RemoveUnfinished() const;

private:
    RepairedProject() = default;

    ProjectManager paths_;
    ProjectManager unfinished_;
    platform::PathLock lock_;
    std::optional<detail::Manifest> manifest_;
    std::vector<JudgedFile> files_;
    std::uint64_t points_ = 0;
};

}  // namespace orvix::importer
