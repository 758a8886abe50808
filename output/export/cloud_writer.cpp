// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/export/cloud_writer.h"

#include "output/file_ending.h"

namespace orvix::output {

std::unique_ptr<CloudWriter> MakeCloudWriter(const CString& path, const ExportedCloud& cloud) {
    if (HasEnding(path, L".ply")) return MakePlyCloudWriter(cloud);
    if (HasEnding(path, L".las")) return MakeLasCloudWriter(cloud);
    return MakeXyzCloudWriter(cloud);
}

}  // namespace orvix::output
