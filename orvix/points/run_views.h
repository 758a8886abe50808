// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>

#include "orvix/points/view_window.h"

namespace orvix::detail {

/// The views from which the readers of one point file append runs, so that its owner can release
/// them all when it closes the file.
///
/// A reader keeps its view from one run to the next, as the runs of neighbouring cells lie in one.
/// On Windows a mapped file can be neither shortened nor removed: the owner's close must not wait
/// for readers to end.
///
///     ViewWindow* window = views.Take();   // a reader, before its first run
///     views.Release();                     // the owner, when it closes the file
///     views.GiveBack(window);              // the reader, at its end, before or after that
///
/// Lifetime readers and owner share it; a window lasts as long.
/// Threads  any may take and give back, without locks: windows are only ever added, at the head of
///          their list. Nobody uses a window during `Release`.
/// Cost     an allocation per window; one that was given back is taken again, so there are as
///          many as there were readers at a time.
class RunViews {
public:
    RunViews() = default;
    RunViews(const RunViews&) = delete;
    RunViews& operator=(const RunViews&) = delete;
    ~RunViews();

    ViewWindow* Take();
    void GiveBack(ViewWindow* window);
    /// Unmaps the views of all windows. They can be used again.
    void Release();

private:
    struct Slot;
    std::atomic<Slot*> first_{nullptr};
};

}  // namespace orvix::detail
