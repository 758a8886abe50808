// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/io_utility.h"

#include <string>

#include "orvix/platform/error_channel.h"
#include "orvix/platform/file.h"
#include "orvix/platform/path.h"
#include "orvix/platform/system.h"

namespace orvix {

int IOUtility::GetFileSizeQW(void* file, std::uint64_t* size) {
    if (!platform::IsValid(file)) return 0;
    *size = 0;
    return platform::SizeOf(file, *size) ? 1 : 0;
}

// BEHAVIOUR O4
bool IOUtility::FileIsWritable(const CString& path) {
    const platform::Handle file = platform::OpenExisting(path, platform::FileAccess::ReadWrite);
    platform::CloseHandleOf(file);
    return platform::IsValid(file);
}

void IOUtility::GetUniqueFilename(CString& path) {
    const CString base = path;
    for (int number = 1; platform::PathExists(path); ++number) {  // BEHAVIOUR O1
        path = base + std::to_wstring(number);
    }
}

void IOUtility::LastErr() {
    const std::uint32_t code = platform::LastErrorCode();
    const CString message = platform::SystemMessage(code);
    CString text =
        L"failed with error " + std::to_wstring(static_cast<std::int32_t>(code)) + L": " + message;
    // The display buffer has the message's own length, its terminating zero included.
    // BEHAVIOUR O2
    text.resize(message.empty() ? 0 : message.size() - 1);
    platform::ReportError(text.c_str());
}

}  // namespace orvix
