// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>

namespace orvix::view {

/// An answer whose text comes bit by bit, from a thread that works to a connection that sends.
///
///     lines->Say("{\"progress\": 0.5}\n");        // who works
///     if (lines->Gone()) return Cancelled();
///     lines->End();
///
///     lines->Listen(wake);                        // who sends: wake() once there is something
///     if (!lines->Take(text)) Finish();
///
/// Boundaries `Say` waits while 4 MiB have not been taken, so that a slow reader costs no memory;
///            `TrySay` drops the text instead. After `Leave` both drop it.
/// Threads    any.
class Lines {
public:
    void Say(const std::string& text);
    void TrySay(const std::string& text);
    void End();
    /// Nobody reads any more.
    [[nodiscard]] bool Gone() const;

    /// `wake` is called on a thread of `Say` and `End`; at once where there is something already.
    void Listen(std::function<void()> wake);
    /// Takes all that was said; false once it has ended and all was taken.
    bool Take(std::string& text);
    void Leave();

private:
    void Wake();

    mutable std::mutex mutex_;
    std::condition_variable room_;
    std::string said_;
    std::function<void()> wake_;
    bool ended_ = false;
    bool gone_ = false;
};

}  // namespace orvix::view
