// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <system_error>

#include "orvix/platform/file.h"

namespace orvix::importer::test {

/// Turns a bit of a file's byte at `offset`, as a failing device would.
inline void FlipBit(const CString& path, std::uint64_t offset) {
    std::error_code error;
    platform::File file = platform::File::OpenReadWrite(path, error);
    std::uint8_t byte = 0;
    if (!error) file.ReadAt(offset, &byte, 1, error);
    byte ^= 4;
    if (!error) file.WriteAt(offset, &byte, 1, error);
}

}  // namespace orvix::importer::test
