// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <atomic>
#include <cstddef>

namespace orvix::platform {

/// The decimal texts of numbers, handed out as addresses that stay valid, and stay the same for
/// the same number, until the process ends. For texts that a caller looks up by number and may
/// keep: the few numbers ever asked for are remembered, never freed.
///
/// Lifetime  make it static and constinit.
/// Threads   any, without locks: entries are only ever added, at the head of their list.
/// Cost      an allocation for a number's first text, then a short list walk.
class NumberNames {
public:
    constexpr NumberNames() = default;

    wchar_t* Of(unsigned number) {
        std::atomic<Entry*>& head = heads_[number % kLists];
        Entry* first = head.load(std::memory_order_acquire);
        if (Entry* const known = Find(first, number)) return known->text.data();
        Entry* const added = new Entry(number, first);
        while (!head.compare_exchange_weak(added->next, added, std::memory_order_acq_rel)) {
            if (Entry* const known = Find(added->next, number)) {
                delete added;
                return known->text.data();
            }
        }
        return added->text.data();
    }

private:
    struct Entry {
        Entry(unsigned value, Entry* after) : number(value), next(after) {
            std::size_t digits = 1;
            for (unsigned rest = value / 10; rest != 0; rest /= 10) ++digits;
            for (unsigned rest = value; digits-- != 0; rest /= 10) {
                text[digits] = static_cast<wchar_t>(L'0' + rest % 10);
            }
        }
        unsigned number;
        Entry* next;
        std::array<wchar_t, 11> text{};  // ten digits and the terminating zero
    };

    static Entry* Find(Entry* entry, unsigned number) {
        while (entry != nullptr && entry->number != number) entry = entry->next;
        return entry;
    }

    static constexpr std::size_t kLists = 256;
    std::array<std::atomic<Entry*>, kLists> heads_{};
};

}  // namespace orvix::platform
