// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <windows.h>

#include <system_error>

#include "orvix/platform/native_calls.h"

namespace orvix::platform::detail {

inline bool IsSeparator(wchar_t c) {
    return c == L'\\' || c == L'/';
}

/// A path as the system takes it: one of any length, with either separator. A path with a zero
/// inside names no file and becomes the empty path, which the system refuses; a bare drive ("C:")
/// is its root, which is what the parent of "C:\scan.prj" means.
CString NativePath(const CString& path);

inline std::error_code ErrorOf(DWORD code) {
    return {static_cast<int>(code), std::system_category()};
}
/// The last error of a call that was given `path`, in the classes that callers distinguish: a name
/// too long, a folder where a file was wanted.
std::error_code LastErrorOn(const CString& path);

/// Sets `error` from the outcome of a system call that reports failure as 0.
inline bool Succeeded(BOOL result, std::error_code& error) {
    error = result != FALSE ? std::error_code{} : LastError();
    return result != FALSE;
}
inline bool Succeeded(BOOL result, const CString& path, std::error_code& error) {
    error = result != FALSE ? std::error_code{} : LastErrorOn(path);
    return result != FALSE;
}

/// The attributes of what a path names, links followed; INVALID_FILE_ATTRIBUTES for nothing.
DWORD AttributesOf(const CString& path);

/// Opens a file or folder to ask about it, links followed; no access to its bytes.
HANDLE OpenToAsk(const CString& path);

/// Closes a handle at the end of a scope.
class HandleOwner {
public:
    explicit HandleOwner(HANDLE handle) : handle_(handle) {}
    ~HandleOwner() { CloseHandleOf(handle_); }
    HandleOwner(const HandleOwner&) = delete;
    HandleOwner& operator=(const HandleOwner&) = delete;

    [[nodiscard]] HANDLE Get() const { return handle_; }
    explicit operator bool() const { return IsValid(handle_); }

private:
    HANDLE handle_;
};

}  // namespace orvix::platform::detail
