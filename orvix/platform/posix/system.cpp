// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/system.h"

#include <sys/resource.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstddef>
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

#include "orvix/platform/dynamic_library.h"
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

/// The loader's entry of the library, or of the program, that this code is part of.
link_map* OwnEntry() {
    Dl_info info;
    void* entry = nullptr;
    const bool found =
        dladdr1(reinterpret_cast<const void*>(&OwnEntry), &info, &entry, RTLD_DL_LINKMAP) != 0;
    return found ? static_cast<link_map*>(entry) : nullptr;
}

/// The folder of that library or program; empty when it is not known. A name in the entry may be
/// relative to a folder that was current once; the loader's origin never is. A program's own entry
/// has neither.
std::string OwnFolder(link_map* own) {
    const bool isLibrary = own != nullptr && own->l_name != nullptr && *own->l_name != 0;
    std::string folder;
    if (isLibrary) {
        std::vector<char> origin(std::size_t{2} * PATH_MAX);
        if (dlinfo(own, RTLD_DI_ORIGIN, origin.data()) == 0) folder = origin.data();
    } else {
        const std::string program = LinkTarget("/proc/self/exe");
        folder = program.substr(0, program.rfind('/'));
    }
    return folder.starts_with('/') ? folder : std::string();
}

/// Where the loader would look for a library that `own` asks for.
std::vector<std::string> SearchedFolders(link_map* own) {
    Dl_serinfo size{};
    if (own == nullptr || dlinfo(own, RTLD_DI_SERINFOSIZE, &size) != 0) return {};
    std::vector<std::max_align_t> room(size.dls_size / sizeof(std::max_align_t) + 1);
    auto* const list = reinterpret_cast<Dl_serinfo*>(room.data());
    *list = size;
    if (dlinfo(own, RTLD_DI_SERINFO, list) != 0) return {};
    std::vector<std::string> folders;
    for (unsigned i = 0; i < list->dls_cnt; ++i)
        folders.emplace_back(list->dls_serpath[i].dls_name);
    return folders;
}

void* OpenLibrary(const std::string& path) {
    return dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
}

/// The system's search without the current folder, which an empty or relative entry of
/// LD_LIBRARY_PATH or of a run path stands for.
void* SearchLibrary(link_map* own, const std::string& file) {
    std::vector<std::string> folders = SearchedFolders(own);
    if (std::erase_if(folders, [](const std::string& f) { return !f.starts_with('/'); }) == 0) {
        return OpenLibrary(file);
    }
    for (const std::string& folder : folders) {
        if (void* const library = OpenLibrary(folder + "/" + file)) return library;
    }
    return nullptr;
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

// BEHAVIOUR O10
void* LoadSharedLibrary(const CString& name) {
    const std::string file = "lib" + detail::NativePath(name) + ".so";
    link_map* const own = OwnEntry();
    const std::string folder = OwnFolder(own);
    void* const beside = folder.empty() ? nullptr : OpenLibrary(folder + "/" + file);
    return beside != nullptr ? beside : SearchLibrary(own, file);
}

void* LoadSystemLibrary(const SystemLibrary& library) {
    return library.posix == nullptr ? nullptr : SearchLibrary(OwnEntry(), library.posix);
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
