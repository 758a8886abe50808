// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/desktop.h"

#include <windows.h>

#include <array>
#include <bcrypt.h>
#include <shellapi.h>
#include <vector>

#include "orvix/platform/path.h"

namespace orvix::platform {

CString ProgramFolder() {
    std::vector<wchar_t> path(32'768);
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    if (length == 0 || length == path.size()) return {};
    return ParentOf(CString(path.data(), length));
}

bool OpenInBrowser(const std::string& address) {
    const CString wide = FromUtf8(address);
    const HINSTANCE result =
        ShellExecuteW(nullptr, L"open", wide.c_str(), nullptr, nullptr, SW_SHOWNORMAL);
    return reinterpret_cast<INT_PTR>(result) > 32;  // as the call says that it succeeded
}

void FillRandom(void* buffer, std::size_t bytes, std::error_code& error) {
    error.clear();
    const NTSTATUS status =
        BCryptGenRandom(nullptr, static_cast<PUCHAR>(buffer), static_cast<ULONG>(bytes),
                        BCRYPT_USE_SYSTEM_PREFERRED_RNG);
    if (status != 0) error = std::make_error_code(std::errc::io_error);
}

// The folder for temporary files is the user's own, and what is made in it inherits that.
CString MakePrivateFolder(const CString& stem, std::error_code& error) {
    error.clear();
    std::vector<wchar_t> parent(MAX_PATH + 2);
    const DWORD length = GetTempPathW(static_cast<DWORD>(parent.size()), parent.data());
    std::array<unsigned char, 8> random{};
    FillRandom(random.data(), random.size(), error);
    if (error) return {};
    if (length == 0 || length > parent.size()) {
        error = std::make_error_code(std::errc::no_such_file_or_directory);
        return {};
    }
    CString name = CString(parent.data(), length) + stem;
    for (const unsigned char byte : random) {
        name += L"0123456789abcdef"[byte >> 4];
        name += L"0123456789abcdef"[byte & 15];
    }
    if (CreateDirectoryW(name.c_str(), nullptr) == 0)
        error.assign(static_cast<int>(GetLastError()), std::system_category());
    return error ? CString() : name;
}

bool ServedPortsRest() {
    return false;
}

}  // namespace orvix::platform
