// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/verbs/preview_search.h"

#include <utility>

namespace orvix::cli {

PreviewSearch::PreviewSearch(CString project, PlaneRequest request)
    : project_(std::move(project)), request_(request), worker_([this] { Work(); }) {
    request_.wantPicture = true;
}

PreviewSearch::~PreviewSearch() {
    {
        const std::lock_guard lock(mutex_);
        ending_ = true;
        outdated_ = true;
    }
    changed_.notify_one();
    worker_.join();
}

void PreviewSearch::Start(const PlaneWormSettings& settings) {
    PlaneRequest request = request_;
    request.splitSize = settings.splitSize;
    request.diffA = settings.diffA;
    request.diffB = settings.diffB;
    request.diffC = settings.diffC;
    request.minPlane = settings.minPlane;
    {
        const std::lock_guard lock(mutex_);
        next_ = std::move(request);
        found_.reset();
        outdated_ = true;
    }
    changed_.notify_one();
}

std::optional<platform::WindowPicture> PreviewSearch::Take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(found_, std::nullopt);
}

void PreviewSearch::Work() {
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return ending_ || next_.has_value(); });
        if (ending_) return;
        const PlaneRequest request = *std::exchange(next_, std::nullopt);
        outdated_ = false;
        lock.unlock();
        platform::WindowPicture picture = Search(request);
        lock.lock();
        if (!outdated_) found_ = std::move(picture);
    }
}

platform::WindowPicture PreviewSearch::Search(const PlaneRequest& request) const {
    const auto finding = FindPlane(project_, request, [this] { return !outdated_; });
    platform::WindowPicture picture;
    if (!finding) {
        picture.text = platform::FromUtf8(finding.error().message);
        return picture;
    }
    if (outdated_) return picture;
    const output::Canvas canvas = output::DrawPlane(*finding->picture);
    picture.width = canvas.Width();
    picture.height = canvas.Height();
    picture.rgb = canvas.Finish();
    return picture;
}

}  // namespace orvix::cli
