// SPDX-License-Identifier: GPL-3.0-or-later
#include "view/http/lines.h"

#include <cstddef>
#include <utility>

namespace orvix::view {

namespace {

constexpr std::size_t kMostUnread = std::size_t{4} << 20;

}  // namespace

void Lines::Say(const std::string& text) {
    {
        std::unique_lock lock(mutex_);
        room_.wait(lock, [this] { return gone_ || said_.size() < kMostUnread; });
        if (gone_) return;
        said_ += text;
    }
    Wake();
}

void Lines::TrySay(const std::string& text) {
    {
        const std::lock_guard lock(mutex_);
        if (gone_ || said_.size() >= kMostUnread) return;
        said_ += text;
    }
    Wake();
}

void Lines::End() {
    {
        const std::lock_guard lock(mutex_);
        ended_ = true;
    }
    Wake();
}

bool Lines::Gone() const {
    const std::lock_guard lock(mutex_);
    return gone_;
}

void Lines::Listen(std::function<void()> wake) {
    bool now = false;
    {
        const std::lock_guard lock(mutex_);
        wake_ = std::move(wake);
        now = ended_ || !said_.empty();
    }
    if (now) Wake();
}

bool Lines::Take(std::string& text) {
    const std::lock_guard lock(mutex_);
    text = std::exchange(said_, {});
    room_.notify_all();
    return !text.empty() || !ended_;
}

void Lines::Leave() {
    const std::lock_guard lock(mutex_);
    gone_ = true;
    said_.clear();
    wake_ = nullptr;
    room_.notify_all();
}

// Outside the lock: who is woken may take at once.
void Lines::Wake() {
    std::function<void()> wake;
    {
        const std::lock_guard lock(mutex_);
        wake = wake_;
    }
    if (wake) wake();
}

}  // namespace orvix::view
