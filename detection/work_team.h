// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <functional>

#include "orvix/platform/error.h"

namespace orvix::detection {

/// Works through numbered jobs on several threads, the calling one among them.
///
///     WorkTeam team(threads, proceed);
///     auto done = team.Run(chunks.size(), [&](std::size_t job, unsigned worker) { ... });
///
/// Order    which thread takes which job is left to chance: a job writes to places of its own
///          number only, and what is summed over jobs is summed in their order afterwards.
/// Errors   that of the failing job with the lowest number among those that ran; Cancelled, when
///          `proceed` says no. Running out of memory in a job is a failure, not an exception.
/// Threads  `proceed` is asked on the calling thread alone, before each of its jobs.
class WorkTeam {
public:
    using Job = std::function<Expected<void>(std::size_t job, unsigned worker)>;

    /// `threads` 0 stands for every core.
    WorkTeam(unsigned threads, std::function<bool()> proceed);

    [[nodiscard]] unsigned Threads() const { return threads_; }
    Expected<void> Run(std::size_t jobs, const Job& job) const;
    /// Whether work may go on; for long stretches on the calling thread.
    [[nodiscard]] bool Proceed() const { return !proceed_ || proceed_(); }

private:
    unsigned threads_;
    std::function<bool()> proceed_;
};

}  // namespace orvix::detection
