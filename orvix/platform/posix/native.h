// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cerrno>
#include <cstdint>
#include <string>
#include <system_error>

#include "orvix/platform/native_calls.h"

namespace orvix::platform::detail {

/// A path as the system takes it. A path with a zero inside names no file; it becomes the empty
/// path, which the system refuses, rather than the path up to that zero.
inline std::string NativePath(const CString& path) {
    if (path.find(L'\0') != CString::npos) return {};
    return ToUtf8(path);
}

/// Sets `error` from the outcome of a system call that reports failure as -1.
template <class Result>
bool Succeeded(Result result, std::error_code& error) {
    error = result == -1 ? LastError() : std::error_code{};
    return result != -1;
}

/// Repeats a call that a signal interrupted.
template <class Call>
auto Retry(Call call) {
    auto result = call();
    while (result == -1 && errno == EINTR) result = call();
    return result;
}

/// Whether `path` itself, no link followed, still names the file behind `descriptor`.
bool IsNamed(const std::string& path, int descriptor);

/// File handles carry the descriptor plus one, so that descriptor 0 is not "none".
inline Handle HandleOf(int descriptor) {
    return descriptor < 0 ? kInvalidHandle
                          : reinterpret_cast<Handle>(static_cast<std::uintptr_t>(descriptor) + 1);
}
inline int DescriptorOf(Handle file) {
    return IsValid(file) ? static_cast<int>(reinterpret_cast<std::uintptr_t>(file) - 1) : -1;
}

}  // namespace orvix::platform::detail
