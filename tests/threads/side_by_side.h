// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <thread>
#include <vector>

namespace orvix::test {

/// Calls work(0) to work(threads - 1), each on a thread of its own, which begin together.
template <class Work>
void SideBySide(int threads, const Work& work) {
    std::atomic<int> waiting{threads};
    std::vector<std::thread> running;
    for (int number = 0; number < threads; ++number) {
        running.emplace_back([&waiting, &work, number] {
            for (--waiting; waiting > 0;) std::this_thread::yield();
            work(number);
        });
    }
    for (std::thread& thread : running) thread.join();
}

}  // namespace orvix::test
