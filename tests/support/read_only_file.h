// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>

#include "orvix/platform/text.h"

namespace orvix::test {

/// While it lives, one file of a tree cannot be written to by this process, not even by a
/// superuser's: where permissions do not bind the user, the process acts as another one.
class ReadOnlyFile {
public:
    ReadOnlyFile(const CString& tree, const CString& file);
    ~ReadOnlyFile();
    ReadOnlyFile(const ReadOnlyFile&) = delete;
    ReadOnlyFile& operator=(const ReadOnlyFile&) = delete;

private:
    CString file_;
    std::uint32_t user_ = 0;
    void* reader_ = nullptr;
};

}  // namespace orvix::test
