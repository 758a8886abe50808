// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>

#include "orvix/platform/error.h"
#include "orvix/project/access/open_project.h"
#include "orvix/project/transform_file.h"

namespace orvix::reports {

/// An open project and where its frame lies in the world.
struct WorldProject {
    std::unique_ptr<detail::OpenProject> files;
    detail::LocalToWorld frame;

    [[nodiscard]] CProjectCore& Core() const { return files->Core(); }
    [[nodiscard]] ProjectManager& Manager() const { return files->Manager(); }

    /// Errors  those of OpenProject::Open and of ReadTransform.
    static Expected<WorldProject> Open(const CString& path);
};

}  // namespace orvix::reports
