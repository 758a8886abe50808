// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/read_only_file.h"

#include <windows.h>

namespace orvix::test {

// Where the attribute does not bind a superuser, a reader that shares with no writer does.
ReadOnlyFile::ReadOnlyFile(const CString&, const CString& file) : file_(file) {
    SetFileAttributesW(file_.c_str(), FILE_ATTRIBUTE_READONLY);
    reader_ = CreateFileW(file_.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0,
                          nullptr);
}

ReadOnlyFile::~ReadOnlyFile() {
    CloseHandle(reader_);
    SetFileAttributesW(file_.c_str(), FILE_ATTRIBUTE_NORMAL);
}

}  // namespace orvix::test
