// SPDX-License-Identifier: GPL-3.0-or-later
#include <string>

#include "orvix/c/orvix.h"
#include "orvix/platform/error_channel.h"
#include "orvix/platform/text.h"
#include "orvix/version.h"

namespace {

// Where the library's messages go: one for the process, set before other calls run.
struct Channel {
    orvix_channel receive = nullptr;
    void* user = nullptr;
};

Channel channel;

void Forward(const wchar_t* text) {
    try {
        channel.receive(channel.user, orvix::platform::ToUtf8(text).c_str());
    } catch (...) {
        // The reader that met the trouble goes on, and cannot take an exception.
    }
}

}  // namespace

uint32_t orvix_interface_version(void) {
    return ORVIX_C_MAJOR * 65536u + ORVIX_C_MINOR;
}

const char* orvix_library_version(void) {
    return orvix::VersionString();
}

void orvix_set_channel(orvix_channel receive, void* user) {
    channel = {receive, user};
    orvix::SetErrorChannel(receive == nullptr ? nullptr : &Forward);
}
