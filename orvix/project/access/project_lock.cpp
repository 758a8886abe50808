// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/access/project_lock.h"

#include <fmt/format.h>

#include <chrono>
#include <thread>
#include <utility>

namespace orvix::detail {

namespace {

constexpr int kBriefTries = 250;
constexpr std::chrono::milliseconds kBetweenTries{20};

tl::unexpected<Error> Held(const CString& project) {
    const std::uint64_t holder = platform::PathLock::HolderOf(ProjectLockPath(project));
    const std::string who = holder == 0 ? std::string() : fmt::format(" (process {})", holder);
    return Fail(ErrorCode::Failure, fmt::format("{} is being changed by another program{}; wait "
                                                "until it has ended",
                                                platform::ToUtf8(project), who));
}

}  // namespace

CString ProjectLockPath(const CString& project) {
    return project + L".lock";
}

platform::PathLock ProjectLock::TryAcquire(const CString& project, Wait wait,
                                           std::error_code& error) {
    const CString path = ProjectLockPath(project);
    for (int left = wait == Wait::No ? 0 : kBriefTries;; --left) {
        platform::PathLock lock = platform::PathLock::TryAcquire(path, error);
        if (lock || error || left == 0) return lock;
        std::this_thread::sleep_for(kBetweenTries);
    }
}

// BEHAVIOUR P16
Expected<ProjectLock> ProjectLock::Acquire(const CString& project, Wait wait) {
    std::error_code error;
    platform::PathLock lock = TryAcquire(project, wait, error);
    if (lock) return ProjectLock(std::move(lock));
    if (!error) return Held(project);
    return FailSystem(error, platform::ToUtf8(ProjectLockPath(project)) +
                                 ", which keeps other programs from changing the project, cannot "
                                 "be made; check the permissions of its folder");
}

}  // namespace orvix::detail
