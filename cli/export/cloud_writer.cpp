// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/export/cloud_writer.h"

#include "cli/file_ending.h"

namespace orvix::cli {

bool IsCloudName(const CString& path) {
    return path.size() > 4 &&
           (HasEnding(path, L".ply") || HasEnding(path, L".las") || HasEnding(path, L".xyz"));
}

std::unique_ptr<CloudWriter> MakeCloudWriter(const CString& path, const ExportedCloud& cloud) {
    if (HasEnding(path, L".ply")) return MakePlyCloudWriter(cloud);
    if (HasEnding(path, L".las")) return MakeLasCloudWriter(cloud);
    return MakeXyzCloudWriter();
}

}  // namespace orvix::cli
