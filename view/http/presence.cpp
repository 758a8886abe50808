// SPDX-License-Identifier: GPL-3.0-or-later
#include "view/http/presence.h"

namespace orvix::view {

namespace {

constexpr auto kTick = std::chrono::seconds(2);
constexpr const char* kEvent = "event: tick\ndata:\n\n";

}  // namespace

Answer Presence::Open() {
    Answer answer;
    answer.type = "text/event-stream";
    answer.headers.emplace_back("Cache-Control", "no-store");
    answer.lines = std::make_shared<Lines>();
    answer.lines->TrySay(kEvent);
    const std::lock_guard lock(mutex_);
    pages_.push_back(answer.lines);
    came_ = true;
    return answer;
}

void Presence::Look(Clock::time_point now) {
    const std::lock_guard lock(mutex_);
    const bool open = !pages_.empty();
    std::erase_if(pages_, [](const auto& page) { return page->Gone(); });
    if (open && pages_.empty()) left_ = now;
    if (now - ticked_ < kTick) return;
    ticked_ = now;
    for (const auto& page : pages_) page->TrySay(kEvent);
}

bool Presence::LeftFor(Clock::duration time, Clock::time_point now) const {
    const std::lock_guard lock(mutex_);
    return came_ && pages_.empty() && now - left_ >= time;
}

}  // namespace orvix::view
