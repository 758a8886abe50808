// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/desktop.h"

#include <sys/random.h>
#include <sys/types.h>
#include <sys/wait.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <spawn.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace orvix::platform {

CString ProgramFolder() {
    std::vector<char> path(PATH_MAX);
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
    if (length <= 0) return {};
    const std::string program(path.data(), static_cast<std::size_t>(length));
    return FromUtf8(program.substr(0, program.rfind('/')));
}

// A shell starts the desktop's opener and leaves it: so it is nobody's child that has to be waited for,
// and the user's Ctrl-C in this terminal does not reach it.
bool OpenInBrowser(const std::string& address) {
    const bool display =
        std::getenv("DISPLAY") != nullptr || std::getenv("WAYLAND_DISPLAY") != nullptr;
    if (!display) return false;
    std::string shell = "/bin/sh";
    std::string option = "-c";
    std::string script =
        "command -v xdg-open >/dev/null || exit 1; xdg-open \"$0\" </dev/null >/dev/null 2>&1 &";
    std::string argument = address;
    char* const words[] = {shell.data(), option.data(), script.data(), argument.data(), nullptr};
    pid_t process = 0;
    if (posix_spawn(&process, shell.c_str(), nullptr, nullptr, words, environ) != 0) return false;
    int status = 0;
    while (waitpid(process, &status, 0) == -1)
        if (errno != EINTR) return false;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

void FillRandom(void* buffer, std::size_t bytes, std::error_code& error) {
    error.clear();
    auto* at = static_cast<unsigned char*>(buffer);
    while (bytes > 0) {
        const ssize_t got = getrandom(at, bytes, 0);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) {
            error.assign(errno, std::generic_category());
            return;
        }
        at += got;
        bytes -= static_cast<std::size_t>(got);
    }
}

CString MakePrivateFolder(const CString& stem, std::error_code& error) {
    error.clear();
    const char* const asked = std::getenv("TMPDIR");
    const std::string parent = asked != nullptr && *asked == '/' ? asked : "/tmp";
    std::string name = parent + "/" + ToUtf8(stem) + "XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        error.assign(errno, std::generic_category());
        return {};
    }
    return FromUtf8(name);
}

bool ServedPortsRest() {
    return true;
}

}  // namespace orvix::platform
