// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/win32/native.h"

#include <algorithm>

namespace orvix::platform::detail {
namespace {

/// From this length on, folders in particular, the plain form of a path is refused.
constexpr std::size_t kLongPath = 240;
/// Characters in one part of a path, at most.
constexpr std::size_t kLongestName = 255;

bool HasDevicePrefix(const CString& path) {
    return path.starts_with(L"\\\\?\\") || path.starts_with(L"\\\\.\\");
}

bool HasOverlongName(const CString& path) {
    std::size_t length = 0;
    return std::any_of(path.begin(), path.end(), [&length](wchar_t c) {
        length = IsSeparator(c) ? 0 : length + 1;
        return length > kLongestName;
    });
}

}  // namespace

CString NativePath(const CString& path) {
    if (path.empty() || path.find(L'\0') != CString::npos) return {};
    if (HasDevicePrefix(path)) return path;
    const CString rooted = path.size() == 2 && path[1] == L':' ? path + L'\\' : path;
    const DWORD room = GetFullPathNameW(rooted.c_str(), 0, nullptr, nullptr);
    if (room < kLongPath) return rooted;
    CString full(room, L'\0');
    full.resize(GetFullPathNameW(rooted.c_str(), room, full.data(), nullptr));
    if (HasDevicePrefix(full)) return full;
    return full.starts_with(L"\\\\") ? L"\\\\?\\UNC" + full.substr(1) : L"\\\\?\\" + full;
}

std::error_code LastErrorOn(const CString& path) {
    const DWORD code = GetLastError();
    if (HasOverlongName(path)) return std::make_error_code(std::errc::filename_too_long);
    if (code == ERROR_ACCESS_DENIED) {
        const DWORD attributes = AttributesOf(path);
        const bool folder =
            attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        if (folder) return std::make_error_code(std::errc::is_a_directory);
    }
    return ErrorOf(code);
}

DWORD AttributesOf(const CString& path) {
    const DWORD attributes = GetFileAttributesW(NativePath(path).c_str());
    const bool link =
        attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    if (!link) return attributes;
    const HandleOwner target(OpenToAsk(path));
    BY_HANDLE_FILE_INFORMATION information;
    return target && GetFileInformationByHandle(target.Get(), &information)
               ? information.dwFileAttributes
               : INVALID_FILE_ATTRIBUTES;
}

HANDLE OpenToAsk(const CString& path) {
    constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    return CreateFileW(NativePath(path).c_str(), 0, kShareAll, nullptr, OPEN_EXISTING,
                       FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}

}  // namespace orvix::platform::detail
