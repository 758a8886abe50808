// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <thread>

namespace orvix::platform {

enum class WorkState { Running, Done, Failed };

/// What a device was asked for and has not finished, oldest first, each with the driver's mark by
/// which it can be asked whether it is done.
///
///     const std::uint64_t number = work.Add(mark);            // not while it is Full
///     const bool done = work.WaitFor(number, ask, patience);  // WorkState ask(Mark&)
///
/// Order    a device works in the order of the calls, so only the oldest mark is asked.
/// Waiting  asks again and again, after a while with sleeps in between; the patience begins anew
///          whenever something is done, so it is that of one piece of work and not of all.
template <class Mark>
class PendingWork {
public:
    static constexpr std::size_t kMost = 64;

    [[nodiscard]] bool IsEmpty() const { return added_ == done_; }
    [[nodiscard]] bool IsFull() const { return added_ - done_ == kMost; }
    [[nodiscard]] std::uint64_t Oldest() const { return done_ + 1; }
    [[nodiscard]] std::uint64_t Newest() const { return added_; }

    std::uint64_t Add(Mark mark) {
        marks_[added_ % kMost] = mark;
        return ++added_;
    }

    /// False where the work failed, or took longer than the patience.
    template <class Ask>
    bool WaitFor(std::uint64_t number, Ask ask, std::chrono::milliseconds patience) {
        auto began = Clock::now();
        while (done_ < number) {
            const WorkState state = ask(marks_[done_ % kMost]);
            const auto now = Clock::now();
            if (state == WorkState::Failed) return false;
            if (state == WorkState::Done) {
                ++done_;
                began = now;
            } else if (now - began > patience) {
                return false;
            } else {
                Pause(now - began);
            }
        }
        return true;
    }

private:
    using Clock = std::chrono::steady_clock;

    static void Pause(Clock::duration waited) {
        using std::chrono::milliseconds;
        if (waited < milliseconds(1)) {
            std::this_thread::yield();
        } else {
            std::this_thread::sleep_for(waited < milliseconds(20) ? std::chrono::microseconds(100)
                                                                  : milliseconds(1));
        }
    }

    std::array<Mark, kMost> marks_{};
    std::uint64_t added_ = 0;
    std::uint64_t done_ = 0;
};

}  // namespace orvix::platform
