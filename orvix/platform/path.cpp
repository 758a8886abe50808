// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/platform/path.h"

#include <array>
#include <charconv>

#include "orvix/platform/file.h"
#include "orvix/platform/native_calls.h"

namespace orvix::platform {
namespace {

std::size_t LastSeparator(const CString& path) {
    return path.find_last_of(detail::PathSeparators());
}

}  // namespace

wchar_t PathSeparator() {
    return detail::PathSeparators().front();
}

CString JoinPath(const CString& folder, const CString& name) {
    return folder + PathSeparator() + name;
}

CString RemoveExtension(const CString& path) {
    const std::size_t dot = path.rfind(L'.');
    const std::size_t separator = LastSeparator(path);
    const bool inFileName = dot != CString::npos && (separator == CString::npos || separator < dot);
    return inFileName ? path.substr(0, dot) : path;
}

CString FileNameOf(const CString& path) {
    const std::size_t separator = LastSeparator(path);
    return separator == CString::npos ? path : path.substr(separator + 1);
}

CString ParentOf(const CString& path) {
    const std::size_t separator = LastSeparator(path);
    return separator == CString::npos ? CString() : path.substr(0, separator);
}

PathLock& PathLock::operator=(PathLock&& other) noexcept {
    PathLock taken(std::move(other));
    std::swap(handle_, taken.handle_);
    return *this;
}

std::uint64_t PathLock::HolderOf(const CString& path) {
    std::error_code error;
    const File file = File::OpenRead(path, error);
    std::array<char, 20> text{};  // as many digits as a number of 64 bits has
    const std::size_t read = error ? 0 : file.ReadAt(0, text.data(), text.size(), error);
    std::uint64_t process = 0;
    std::from_chars(text.data(), text.data() + read, process);
    return process;
}

}  // namespace orvix::platform
