// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdio>
#include <string_view>

namespace orvix::cli {

/// Writes to standard error and ignores a failure: a full log disk or a reader that has gone must
/// not end the work that the message is about.
inline void WriteMessage(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

}  // namespace orvix::cli
