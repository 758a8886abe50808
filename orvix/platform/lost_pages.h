// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace orvix::platform {

/// How a program ends when a page of a mapped file can no longer be read: another program cut the
/// file short, or its network drive or disk is gone. The texts stand around the file's name.
struct LostPageEnd {
    std::string before;  ///< to standard error
    std::string after;   ///< to standard error, after the name
    std::string
        jsonBefore;  ///< to standard output, up to the name inside a JSON text; may be empty
    std::string jsonAfter;
    int exitCode = 1;
};

/// From now on the program ends so, at once and from any thread, instead of by the system's signal.
/// What UnfinishedFiles have written is removed; nothing else is. A second call replaces the texts.
///
///     EndOnLostPages({"walk: ", " was cut short while it was read\n", "", "", 5});
///
/// Boundaries texts are cut after 1,023 bytes. A fault that is about no mapped file takes its usual
///            way, so that whoever traces crashes sees it.
/// Threads    call it before other threads read mapped files.
/// Source     on Linux the signal SIGBUS, and /proc/self/maps for the name; on Windows the exception
///            EXCEPTION_IN_PAGE_ERROR.
void EndOnLostPages(const LostPageEnd& end);

}  // namespace orvix::platform
