// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/error_channel.h"

#include <utility>

namespace orvix {
namespace {

constinit ErrorChannel channel = nullptr;

}  // namespace

ErrorChannel SetErrorChannel(ErrorChannel replacement) {
    const ErrorChannel previous = std::exchange(channel, replacement);
    return previous != nullptr ? previous : &platform::ShowMessage;
}

namespace platform {

void ReportError(const wchar_t* text) {
    if (channel != nullptr) {
        channel(text);
    } else {
        ShowMessage(text);
    }
}

}  // namespace platform
}  // namespace orvix
