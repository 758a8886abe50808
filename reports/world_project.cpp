// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/world_project.h"

#include <utility>

namespace orvix::reports {

Expected<WorldProject> WorldProject::Open(const CString& path) {
    auto opened = detail::OpenProject::Open(path);
    if (!opened) return ErrorOf(opened);
    const auto frame = detail::ReadTransform((*opened)->Manager().transformFile);
    if (!frame) return ErrorOf(frame);
    return WorldProject{std::move(*opened), *frame};
}

}  // namespace orvix::reports
