// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/system.h"

#include <sys/resource.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <dirent.h>
#include <dlfcn.h>
#include <fstream>
#include <iterator>
#include <link.h>
#include <memory>
#include <string.h>
#include <string>
#include <unistd.h>

#include "orvix/platform/posix/native.h"

namespace orvix::platform {
namespace {

/// The target of a symbolic link; empty when it cannot be read.
std::string LinkTarget(const std::string& path) {
    std::string target(4096, '\0');
    const ssize_t length = readlink(path.c_str(), target.data(), target.size());
    target.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return target;
}

std::string ReadWhole(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string BaseName(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

/// The name of an executable that was replaced while it runs ends with this mark.
std::string WithoutDeletedMark(std::string name) {
    constexpr std::string_view kMark = " (deleted)";
    if (name.size() > kMark.size() && name.ends_with(kMark)) {
        name.resize(name.size() - kMark.size());
    }
    return name;
}

/// The executable's name as far as this user may see it: from its path, else the short name
/// (cut to 15 bytes by the system), completed from the command line where that agrees with it.
std::string ProcessName(const std::string& process) {
    const std::string executable = LinkTarget(process + "/exe");
    if (!executable.empty()) return WithoutDeletedMark(BaseName(executable));
    std::string shortName = ReadWhole(process + "/comm");
    if (!shortName.empty() && shortName.back() == '\n') shortName.pop_back();
    const std::string commandLine = ReadWhole(process + "/cmdline");
    const std::string longName = BaseName(commandLine.substr(0, commandLine.find('\0')));
    return longName.starts_with(shortName) ? longName : shortName;
}

std::vector<std::uint32_t> ProcessIds() {
    std::vector<std::uint32_t> ids;
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir("/proc"), &closedir);
    if (folder == nullptr) return ids;
    while (const dirent* const entry = readdir(folder.get())) {
        const char* const end = entry->d_name + strlen(entry->d_name);
        std::uint32_t id = 0;
        const auto [stop, error] = std::from_chars(entry->d_name, end, id);
        if (error == std::errc{} && stop == end) ids.push_back(id);
    }
    std::sort(ids.begin(), ids.end());
    return ids;
}

/// The folder of the library, or of the program, that this code is part of.
std::string OwnFolder() {
    Dl_info info;
    void* extra = nullptr;
    const bool found =
        dladdr1(reinterpret_cast<const void*>(&OwnFolder), &info, &extra, RTLD_DL_LINKMAP) != 0;
    // A program's own entry has no name; the one it was started by may be relative.
    const auto* const map = static_cast<const link_map*>(extra);
    const bool isLibrary = found && map != nullptr && map->l_name != nullptr && *map->l_name != 0;
    const std::string own = isLibrary ? std::string(map->l_name) : LinkTarget("/proc/self/exe");
    const std::size_t separator = own.rfind('/');
    return separator == std::string::npos ? std::string() : own.substr(0, separator + 1);
}

}  // namespace

std::uint32_t LastErrorCode() {
    return static_cast<std::uint32_t>(errno);
}

CString SystemMessage(std::uint32_t code) {
    char buffer[256] = {};
    return FromUtf8(strerror_r(static_cast<int>(code), buffer, sizeof buffer));
}

std::vector<CString> ProcessNames() {
    std::vector<CString> names;
    for (const std::uint32_t id : ProcessIds()) {
        const std::string name = ProcessName("/proc/" + std::to_string(id));
        // A process that ended since it was listed has none.
        if (!name.empty()) names.push_back(FromUtf8(name));
    }
    return names;
}

void* LoadSharedLibrary(const CString& name) {
    const std::string file = "lib" + detail::NativePath(name) + ".so";
    const std::string folder = OwnFolder();
    if (!folder.empty()) {
        if (void* const library = dlopen((folder + file).c_str(), RTLD_NOW | RTLD_LOCAL)) {
            return library;
        }
    }
    return dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
}

void* FindSymbol(void* library, const char* name) {
    return library == nullptr ? nullptr : dlsym(library, name);
}

CString EnvironmentVariable(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? CString() : FromUtf8(value);
}

std::uint64_t PeakMemory() {
    // The resource usage of a process starts from its parent's peak; this line does not.
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        std::uint64_t kibibytes = 0;
        if (word == "VmHWM:" && status >> kibibytes) return kibibytes * 1024;
    }
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<std::uint64_t>(usage.ru_maxrss) * 1024;
}

std::uint64_t PhysicalMemory() {
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long pageBytes = sysconf(_SC_PAGE_SIZE);
    return pages > 0 && pageBytes > 0
               ? static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageBytes)
               : 0;
}

}  // namespace orvix::platform
