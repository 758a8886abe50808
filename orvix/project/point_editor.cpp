// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/point_editor.h"

#include <system_error>

#include "orvix/platform/file.h"
#include "orvix/platform/text.h"
#include "orvix/project/project_manager.h"

namespace orvix::detail {

Expected<void> PointEditor::Sync(const ProjectManager& paths) {
    for (const CString* path : {&paths.gridPts, &paths.gridSkeletDataPts}) {
        std::error_code error;
        platform::File file = platform::File::OpenReadWrite(*path, error);
        if (!error) file.Sync(error);
        if (error)
            return FailSystem(error, platform::ToUtf8(*path) + " could not be brought to the disk");
    }
    return {};
}

}  // namespace orvix::detail
