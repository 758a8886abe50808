// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/options/preview_search.h"

#include <exception>
#include <utility>

#include "output/picture/picture_of_plane.h"

namespace orvix::cli {

namespace {

platform::WindowPicture Said(const Error& error) {
    platform::WindowPicture picture;
    picture.text = platform::FromUtf8(error.message);
    return picture;
}

}  // namespace

PreviewSearch::PreviewSearch(CString project, reports::PlaneRequest request)
    : project_(std::move(project)), request_(request), worker_([this] { Work(); }) {}

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
    reports::PlaneRequest request = request_;
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
        const reports::PlaneRequest request = *std::exchange(next_, std::nullopt);
        outdated_ = false;
        lock.unlock();
        platform::WindowPicture picture = SearchGuarded(request);
        lock.lock();
        if (!outdated_) found_ = std::move(picture);
    }
}

// What is thrown here nobody else could catch. A picture without anything is shown as none.
platform::WindowPicture PreviewSearch::SearchGuarded(const reports::PlaneRequest& request) const {
    try {
        return Search(request);
    } catch (const std::exception&) {
        return {};
    }
}

platform::WindowPicture PreviewSearch::Search(const reports::PlaneRequest& request) const {
    platform::WindowPicture picture;
    const auto project = reports::WorldProject::Open(project_);
    if (!project) return Said(project.error());
    const auto finding = reports::FindPlane(*project, request, [this] { return !outdated_; });
    if (!finding) return Said(finding.error());
    const output::PlanePicture plane = output::PictureOf(*project, *finding);
    if (outdated_) return picture;
    const output::Canvas canvas = output::DrawPlane(plane);
    picture.width = canvas.Width();
    picture.height = canvas.Height();
    picture.rgb = canvas.Finish();
    return picture;
}

}  // namespace orvix::cli
