// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "view/http/answer.h"

namespace orvix::view {

/// Does long work for pages on a thread of its own, one piece after the other, and sends what it says
/// line by line.
///
/// Boundaries 8 pieces may wait; another one is refused with 409. What waits hears so at once. Work whose
///            page has gone is not begun, or ends at its next look.
/// Threads    any.
/// Lifetime   what sends the lines must last until End, or until the end of this object.
class Searches {
public:
    using Proceed = std::function<bool()>;
    /// Says its lines, the last of them "done"; an error that it returns is said as "error".
    using Work = std::function<Expected<void>(Lines& lines, const Proceed& proceed)>;

    Searches();
    ~Searches();
    Searches(const Searches&) = delete;
    Searches& operator=(const Searches&) = delete;

    Answer Ask(Work work);
    /// Ends what is at work and what waits, and takes nothing more on: nobody is woken afterwards.
    void End();

private:
    struct Job {
        Work work;
        std::shared_ptr<Lines> lines;
    };

    void Serve();
    void Do(const Job& job);
    [[nodiscard]] bool Stopping();

    std::mutex mutex_;
    std::condition_variable asked_;
    std::deque<Job> waiting_;
    std::shared_ptr<Lines> atWork_;
    bool stopping_ = false;
    std::thread thread_;
};

}  // namespace orvix::view
