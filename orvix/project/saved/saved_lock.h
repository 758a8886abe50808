// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <system_error>

#include "orvix/platform/error.h"
#include "orvix/platform/path.h"

namespace orvix::detail {

/// The refusal of a second program that would write the same file of a project.
inline tl::unexpected<Error> SavedByAnother(const CString& path) {
    return Fail(
        ErrorCode::Failure,
        platform::ToUtf8(path) + " is being written by another program; wait until it has ended");
}

/// Holds the lock of who writes `path`, something that a project keeps.
///
/// Errors  Failure where another program holds it, or where no lock can be made there.
inline Expected<platform::PathLock> LockSaved(const CString& lock, const CString& path) {
    std::error_code error;
    auto held = platform::PathLock::TryAcquire(lock, error);
    if (error)
        return FailSystem(error,
                          platform::ToUtf8(path) + " cannot be written; check the permissions");
    if (!held) return SavedByAnother(path);
    return held;
}

}  // namespace orvix::detail
