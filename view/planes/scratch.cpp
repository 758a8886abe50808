// SPDX-License-Identifier: GPL-3.0-or-later
#include "view/planes/scratch.h"

#include <string>
#include <system_error>

#include "orvix/platform/desktop.h"
#include "orvix/platform/path.h"

namespace orvix::view {

Scratch::~Scratch() {
    std::error_code ignored;
    if (!folder_.empty()) platform::RemoveTree(folder_, ignored);
}

Expected<CString> Scratch::NewName(const CString& ending) {
    const std::lock_guard lock(mutex_);
    if (folder_.empty()) {
        std::error_code error;
        folder_ = platform::MakePrivateFolder(L"orvix-view-", error);
        if (error) return FailSystem(error, "no folder for temporary files can be made");
    }
    return platform::JoinPath(folder_, std::to_wstring(++names_) + ending);
}

}  // namespace orvix::view
