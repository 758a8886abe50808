// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/points/run_views.h"

#include <utility>

namespace orvix::detail {

struct RunViews::Slot final : ViewWindow {
    explicit Slot(Slot* after) : next(after) {}
    std::atomic<bool> taken{true};
    Slot* next;
};

RunViews::~RunViews() {
    for (Slot* slot = first_.load(); slot != nullptr;) delete std::exchange(slot, slot->next);
}

ViewWindow* RunViews::Take() {
    Slot* first = first_.load(std::memory_order_acquire);
    for (Slot* slot = first; slot != nullptr; slot = slot->next) {
        if (!slot->taken.exchange(true, std::memory_order_acquire)) return slot;
    }
    Slot* const added = new Slot(first);
    while (!first_.compare_exchange_weak(added->next, added, std::memory_order_acq_rel)) {
    }
    return added;
}

void RunViews::GiveBack(ViewWindow* window) {
    window->Release();
    static_cast<Slot*>(window)->taken.store(false, std::memory_order_release);
}

void RunViews::Release() {
    for (Slot* slot = first_.load(std::memory_order_acquire); slot != nullptr; slot = slot->next) {
        slot->Release();
    }
}

}  // namespace orvix::detail
