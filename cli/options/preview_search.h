// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <thread>

#include "orvix/planes/plane_worm_settings.h"
#include "orvix/platform/row_window.h"
#include "reports/plane_finding.h"

namespace orvix::cli {

/// Looks for the plane at a seed on a thread of its own, so that a window goes on answering.
///
///     PreviewSearch search(project, request);
///     search.Start(settings);                       // when the user asks; ends the one before
///     if (auto picture = search.Take()) Show(*picture);  // now and then
///
/// A search that finds nothing leaves the reason as the picture's text; one that was ended leaves
/// nothing.
///
/// Lifetime the end of the object ends a search and waits for it: a moment while points are
///          searched, up to a second while the picture is drawn.
/// Threads  Start and Take on one thread.
class PreviewSearch {
public:
    /// `request` holds the seed; cell size, tolerances and MinPlane come with Start.
    PreviewSearch(CString project, reports::PlaneRequest request);
    ~PreviewSearch();
    PreviewSearch(const PreviewSearch&) = delete;
    PreviewSearch& operator=(const PreviewSearch&) = delete;

    void Start(const PlaneWormSettings& settings);
    /// The last search's picture, once, when it is there.
    std::optional<platform::WindowPicture> Take();

private:
    void Work();
    [[nodiscard]] platform::WindowPicture SearchGuarded(const reports::PlaneRequest& request) const;
    [[nodiscard]] platform::WindowPicture Search(const reports::PlaneRequest& request) const;

    CString project_;
    reports::PlaneRequest request_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::optional<reports::PlaneRequest> next_;
    std::optional<platform::WindowPicture> found_;
    std::atomic<bool> outdated_ = false;  // the search under way is no longer wanted
    bool ending_ = false;
    std::thread worker_;  // last: it uses the others
};

}  // namespace orvix::cli
