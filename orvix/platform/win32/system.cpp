// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/system.h"

#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>

#include "orvix/platform/dynamic_library.h"
#include "orvix/platform/win32/native.h"

namespace orvix::platform {
namespace {

/// The folder, with its separator, of the library or program that this code is part of.
CString OwnFolder() {
    HMODULE own = nullptr;
    GetModuleHandleExW(
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
        reinterpret_cast<const wchar_t*>(&OwnFolder), &own);
    constexpr DWORD kRoom = 32'768;
    CString path(kRoom, L'\0');
    path.resize(GetModuleFileNameW(own, path.data(), kRoom));
    return path.substr(0, path.rfind(L'\\') + 1);
}

}  // namespace

std::uint32_t LastErrorCode() {
    return GetLastError();
}

CString SystemMessage(std::uint32_t code) {
    wchar_t* message = nullptr;
    const DWORD length = FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, code, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
        reinterpret_cast<wchar_t*>(&message), 0, nullptr);
    const CString text = length != 0 ? CString(message, length) : CString();
    LocalFree(message);
    return text;
}

std::vector<CString> ProcessNames() {
    std::vector<CString> names;
    const detail::HandleOwner snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof entry;
    if (!snapshot || !Process32FirstW(snapshot.Get(), &entry)) return names;
    do {
        names.emplace_back(entry.szExeFile);
    } while (Process32NextW(snapshot.Get(), &entry));
    return names;
}

// BEHAVIOUR O10
void* LoadSharedLibrary(const CString& name) {
    // A name with dots in it gets no ending from the system.
    const CString file = name + L".dll";
    const CString beside = OwnFolder() + file;
    constexpr DWORD kWithItsOwnFolder =
        LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS;
    if (void* const library = LoadLibraryExW(beside.c_str(), nullptr, kWithItsOwnFolder)) {
        return library;
    }
    return LoadLibraryExW(file.c_str(), nullptr, LOAD_LIBRARY_SEARCH_DEFAULT_DIRS);
}

void* LoadSystemLibrary(const SystemLibrary& library) {
    if (library.windows == nullptr) return nullptr;
    return LoadLibraryExW(library.windows, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
}

void* FindSymbol(void* library, const char* name) {
    if (library == nullptr) return nullptr;
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

CString EnvironmentVariable(const char* name) {
    const CString wide = FromUtf8(name);
    CString value;
    for (DWORD room = GetEnvironmentVariableW(wide.c_str(), nullptr, 0); room > value.size();) {
        value.resize(room);
        room = GetEnvironmentVariableW(wide.c_str(), value.data(), room);
        if (room <= value.size()) value.resize(room);
    }
    return value;
}

std::uint64_t PeakMemory() {
    PROCESS_MEMORY_COUNTERS counters{};
    counters.cb = sizeof counters;
    return K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters)
               ? counters.PeakWorkingSetSize
               : 0;
}

std::uint64_t PhysicalMemory() {
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    return GlobalMemoryStatusEx(&status) ? status.ullTotalPhys : 0;
}

}  // namespace orvix::platform
