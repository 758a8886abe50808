// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/export/cloud_writer.h"

namespace orvix::cli {

namespace {

std::wstring EndingOf(const CString& path) {
    std::wstring ending = path.size() < 4 ? path : path.substr(path.size() - 4);
    for (wchar_t& c : ending) {
        if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c - L'A' + L'a');
    }
    return ending;
}

}  // namespace

bool IsCloudName(const CString& path) {
    const std::wstring ending = EndingOf(path);
    return path.size() > ending.size() &&
           (ending == L".ply" || ending == L".las" || ending == L".xyz");
}

std::unique_ptr<CloudWriter> MakeCloudWriter(const CString& path, const ExportedCloud& cloud) {
    const std::wstring ending = EndingOf(path);
    if (ending == L".ply") return MakePlyCloudWriter(cloud);
    if (ending == L".las") return MakeLasCloudWriter(cloud);
    return MakeXyzCloudWriter();
}

}  // namespace orvix::cli
