// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <system_error>

#include "orvix/platform/error.h"
#include "orvix/platform/path.h"
#include "orvix/platform/text.h"

namespace orvix::detail {

/// The lock file of a project: scan.prj.lock beside scan.prj.
CString ProjectLockPath(const CString& project);

/// The right to change a project, which one program at a time has: who replaces, edits or removes
/// it, or stores its settings. Whoever only reads needs none.
///
///     const auto lock = ProjectLock::Acquire(path);
///     if (!lock) return ErrorOf(lock);
///
/// Errors   Failure where another program has it, with that program's process; FailSystem where the
///          lock file cannot be made beside the project.
/// Lifetime held until the object dies, or the process does.
class ProjectLock {
public:
    /// How long to wait for another program: not at all, or as long as settings take to be stored,
    /// five seconds at most.
    enum class Wait { No, Briefly };

    static Expected<ProjectLock> Acquire(const CString& project, Wait wait = Wait::No);
    /// The same without words: empty with `error` clear where another program has it.
    static platform::PathLock TryAcquire(const CString& project, Wait wait, std::error_code& error);

private:
    explicit ProjectLock(platform::PathLock lock) : lock_(std::move(lock)) {}

    platform::PathLock lock_;
};

}  // namespace orvix::detail
