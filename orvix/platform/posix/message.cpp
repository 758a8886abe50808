// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdio>

#include "orvix/platform/error_channel.h"
#include "orvix/platform/text.h"

namespace orvix::platform {

void ShowMessage(const wchar_t* text) {
    if (text == nullptr) return;
    // One call, so that lines of several threads do not mix.
    const std::string line = ToUtf8(text) + '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace orvix::platform
