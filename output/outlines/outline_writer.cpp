// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/outlines/outline_writer.h"

#include "output/file_ending.h"
#include "output/outlines/outline_formats.h"

namespace orvix::output {

bool IsOutlineName(const CString& path) {
    return HasEnding(path, L".dxf") || HasEnding(path, L".geojson") || HasEnding(path, L".ifc");
}

Expected<void> WriteOutlines(const CString& path, const std::vector<reports::WorldPlane>& planes) {
    if (!IsOutlineName(path))
        return Fail(
            ErrorCode::BadInput,
            platform::ToUtf8(path) + " must end in .dxf, .geojson or .ifc to hold outlines");
    TextFile file(path);
    if (HasEnding(path, L".dxf"))
        PrintDxf(file, planes);
    else if (HasEnding(path, L".geojson"))
        PrintGeoJson(file, planes);
    else
        PrintIfc(file, planes);
    return file.Commit();
}

}  // namespace orvix::output
