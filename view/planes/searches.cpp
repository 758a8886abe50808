// SPDX-License-Identifier: GPL-3.0-or-later
#include "view/planes/searches.h"

#include <exception>
#include <new>
#include <string>
#include <utility>

namespace orvix::view {

namespace {

constexpr std::size_t kMostWaiting = 8;

Expected<void> Guarded(const Searches::Work& work, Lines& lines, const Searches::Proceed& proceed) {
    try {
        return work(lines, proceed);
    } catch (const std::bad_alloc&) {
        return Fail(ErrorCode::NoMemory, "memory ran out; close other programs and try again");
    } catch (const std::exception& error) {
        return Fail(ErrorCode::Failure, std::string("the search ended early: ") + error.what());
    }
}

}  // namespace

Searches::Searches() : thread_([this] { Serve(); }) {}

Searches::~Searches() {
    End();
}

void Searches::End() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
        // Who speaks must not wait for a reader that is about to go.
        if (atWork_) atWork_->Leave();
        for (const Job& job : waiting_) job.lines->Leave();
        waiting_.clear();
    }
    asked_.notify_all();
    if (thread_.joinable()) thread_.join();
}

Answer Searches::Ask(Work work) {
    Answer answer;
    answer.type = "application/x-ndjson";
    answer.headers.emplace_back("Cache-Control", "no-store");
    answer.lines = std::make_shared<Lines>();
    {
        const std::lock_guard lock(mutex_);
        if (stopping_) return Refusal(409, "the server ends");
        std::erase_if(waiting_, [](const Job& job) { return job.lines->Gone(); });
        if (waiting_.size() >= kMostWaiting)
            return Refusal(409, "too many searches wait already; let one of them end");
        if (atWork_ || !waiting_.empty()) answer.lines->TrySay(LineOf(Json{{"waiting", true}}));
        waiting_.push_back({std::move(work), answer.lines});
    }
    asked_.notify_all();
    return answer;
}

void Searches::Serve() {
    std::unique_lock lock(mutex_);
    while (true) {
        asked_.wait(lock, [this] { return stopping_ || !waiting_.empty(); });
        if (stopping_) return;
        const Job job = std::move(waiting_.front());
        waiting_.pop_front();
        atWork_ = job.lines;
        lock.unlock();
        Do(job);
        lock.lock();
        atWork_.reset();
    }
}

void Searches::Do(const Job& job) {
    // BEHAVIOUR L3
    const Proceed proceed = [this, &job] { return !job.lines->Gone() && !Stopping(); };
    if (proceed()) {
        const auto done = Guarded(job.work, *job.lines, proceed);
        if (!done) job.lines->Say(LineOf(Json{{"error", done.error().message}}));
    }
    job.lines->End();
}

bool Searches::Stopping() {
    const std::lock_guard lock(mutex_);
    return stopping_;
}

}  // namespace orvix::view
