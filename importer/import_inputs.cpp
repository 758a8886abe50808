// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/import_inputs.h"

#include <fmt/format.h>

#include <utility>

#include "importer/formats/open_scan.h"
#include "orvix/platform/path.h"

namespace orvix::importer {
namespace {

using platform::ToUtf8;

// Whether replacing the project's folder would take the input with it.
bool LiesInProject(const CString& input, const CString& project) {
    const CString folder =
        platform::RemoveExtension(platform::AbsolutePath(project)) + L"_Project_Files";
    for (CString path = platform::AbsolutePath(input); !path.empty();) {
        if (platform::IsSameFile(path, folder)) return true;
        path = platform::ParentOf(path);
    }
    return false;
}

}  // namespace

Expected<void> CheckInputs(const std::vector<CString>& inputs, const CString& project) {
    if (inputs.empty()) return Fail(ErrorCode::BadInput, "there is nothing to import; name a scan");
    if (inputs.size() > kMaxStations) {
        return Fail(ErrorCode::BadInput,
                    fmt::format("{} inputs are more than the {} stations of a project; import them "
                                "into several projects",
                                inputs.size(), kMaxStations));
    }
    for (const CString& input : inputs) {
        if (LiesInProject(input, project)) {
            return Fail(ErrorCode::BadInput,
                        fmt::format("{} lies in the folder of the project that it would replace; "
                                    "move it out first",
                                    ToUtf8(input)));
        }
        if (!platform::IsSameFile(input, project)) continue;
        return Fail(ErrorCode::BadInput, fmt::format("{} is both a scan and the project; give the "
                                                     "project another name",
                                                     ToUtf8(input)));
    }
    return {};
}

Expected<std::vector<ScanInput>> OpenInputs(const std::vector<CString>& paths) {
    std::vector<ScanInput> inputs;
    for (const CString& path : paths) {
        auto reader = OpenScan(path);
        if (!reader) return ErrorOf(reader);
        inputs.push_back({path, std::move(*reader)});
    }
    return inputs;
}

}  // namespace orvix::importer
