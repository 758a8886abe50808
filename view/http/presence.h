// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <vector>

#include "view/http/answer.h"

namespace orvix::view {

/// Knows whether a page is open: each holds an answer open that never ends, and takes a tick from it
/// now and then.
///
/// Boundaries before the first page came, nobody has left.
/// Threads    any.
class Presence {
public:
    using Clock = std::chrono::steady_clock;

    /// Server-sent events, from now on.
    Answer Open();
    /// Sends a tick every two seconds; to be called oftener.
    void Look(Clock::time_point now);
    /// The last page was closed that long ago and none has come since.
    [[nodiscard]] bool LeftFor(Clock::duration time, Clock::time_point now) const;

private:
    mutable std::mutex mutex_;
    std::vector<std::shared_ptr<Lines>> pages_;
    Clock::time_point ticked_{};
    Clock::time_point left_{};
    bool came_ = false;
};

}  // namespace orvix::view
