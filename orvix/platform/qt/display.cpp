// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/qt/display.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <string_view>
#include <unistd.h>

namespace orvix::platform::qt {
namespace {

std::string Variable(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

bool XServerAnswers() {
    // Qt's own plug-in for X is what brings this library; it is asked for at run time, because a
    // machine without X has no use for it.
    void* const xcb = dlopen("libxcb.so.1", RTLD_NOW | RTLD_LOCAL);
    if (xcb == nullptr) return false;
    using Connect = void* (*)(const char*, int*);
    using Ask = int (*)(void*);
    using End = void (*)(void*);
    const auto connect = reinterpret_cast<Connect>(dlsym(xcb, "xcb_connect"));
    const auto hasError = reinterpret_cast<Ask>(dlsym(xcb, "xcb_connection_has_error"));
    const auto disconnect = reinterpret_cast<End>(dlsym(xcb, "xcb_disconnect"));
    if (connect == nullptr || hasError == nullptr || disconnect == nullptr) return false;
    void* const connection = connect(nullptr, nullptr);
    const bool answers = hasError(connection) == 0;
    disconnect(connection);
    return answers;
}

bool WaylandAnswers() {
    const std::string name = Variable("WAYLAND_DISPLAY");
    if (name.empty()) return false;
    const std::string path = name.front() == '/' ? name : Variable("XDG_RUNTIME_DIR") + "/" + name;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) return false;
    std::memcpy(address.sun_path, path.c_str(), path.size());
    const int socketHandle = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (socketHandle < 0) return false;
    const bool answers =
        connect(socketHandle, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(socketHandle);
    return answers;
}

}  // namespace

// BEHAVIOUR O9
Display FindDisplay(bool wayland) {
    const std::string chosen = Variable("QT_QPA_PLATFORM");
    const bool needsX = std::string_view(chosen).substr(0, 3) == "xcb";
    if (!chosen.empty() && !needsX) return {};
    if (!needsX && wayland && WaylandAnswers()) return {"wayland", {}};
    if (XServerAnswers()) return {needsX ? "" : "xcb", {}};
    return {{},
            L"there is no display to open a window on: set DISPLAY, or run this in a desktop "
            L"session (over ssh: ssh -X)"};
}

}  // namespace orvix::platform::qt
