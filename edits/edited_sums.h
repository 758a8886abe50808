// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "orvix/platform/error.h"
#include "orvix/project/manifest/block_sums.h"
#include "orvix/project/project_manager.h"

namespace orvix::edits {

/// Keeps a project's manifest true while its points are changed in place: they are compared with
/// their sums before, and summed anew after.
///
///     auto sums = EditedSums::Begin(paths);
///     if (!sums) return ErrorOf(sums);
///     ... CProjectCore::OpenCores4Write, change points, PointEditor::Sync ...
///     return sums->End();
///
/// Boundaries points that were opened for writing before and not summed since cannot be compared, and
///            stay without sums; so do those of an edit that ends early, and where another program
///            opens them for writing meanwhile. A repair sums them.
/// Errors     Begin: Damaged where bytes differ from their sums, since new sums would hide that. End:
///            those of reading and writing.
/// Cost       both point files are read once more in Begin, and once in End, Grid.pts not where the
///            caller brings its sums; blocks by as many jobs as `run` has at a time.
class EditedSums {
public:
    static Expected<EditedSums> Begin(const ProjectManager& paths,
                                      const detail::BlockRunner& run = detail::RunOneByOne);
    /// `pointSums`: of the blocks of Grid.pts, where they were made as it was changed; empty: it is
    /// read.
    Expected<void> End(const detail::BlockRunner& run = detail::RunOneByOne,
                       std::vector<std::uint32_t> pointSums = {}) const;

private:
    explicit EditedSums(const ProjectManager& paths) : paths_(&paths) {}

    const ProjectManager* paths_;
    bool summed_ = false;  // there is a manifest, and it holds
    bool fresh_ = true;    // nobody had opened the points for writing
};

}  // namespace orvix::edits
