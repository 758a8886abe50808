// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/outlines/outline_writer.h"

#include "cli/outlines/outline_formats.h"

namespace orvix::cli {

namespace {

bool EndsWith(const CString& path, std::wstring_view ending) {
    if (path.size() < ending.size()) return false;
    const CString tail = path.substr(path.size() - ending.size());
    for (std::size_t i = 0; i < tail.size(); ++i) {
        const wchar_t c = tail[i];
        if ((c >= L'A' && c <= L'Z' ? c - L'A' + L'a' : c) != ending[i]) return false;
    }
    return true;
}

}  // namespace

bool IsOutlineName(const CString& path) {
    return EndsWith(path, L".dxf") || EndsWith(path, L".geojson") || EndsWith(path, L".ifc");
}

Expected<void> WriteOutlines(const CString& path, const std::vector<WorldPlane>& planes,
                             double tolerance) {
    if (!IsOutlineName(path))
        return Fail(
            ErrorCode::BadInput,
            platform::ToUtf8(path) + " must end in .dxf, .geojson or .ifc to hold outlines");
    TextFile file(path);
    if (EndsWith(path, L".dxf"))
        PrintDxf(file, planes);
    else if (EndsWith(path, L".geojson"))
        PrintGeoJson(file, planes, tolerance);
    else
        PrintIfc(file, planes, tolerance);
    return file.Commit();
}

}  // namespace orvix::cli
