// SPDX-License-Identifier: GPL-3.0-or-later
#include "view/planes/known_planes.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace orvix::view {

namespace {

constexpr std::size_t kMostGrown = 1000;

const detection::FoundPlane* Find(const PlaneList* list, const std::deque<NumberedPlane>& grown,
                                  std::uint32_t number) {
    for (const NumberedPlane& plane : grown)
        if (plane.number == number) return &plane.plane;
    if (list == nullptr) return nullptr;
    const auto& numbers = list->finding.set->Numbers();
    const auto found = std::find(numbers.begin(), numbers.end(), number);
    if (found == numbers.end()) return nullptr;
    return &list->finding.set->Planes()[static_cast<std::size_t>(found - numbers.begin())];
}

}  // namespace

std::shared_ptr<const PlaneList> KnownPlanes::List() const {
    const std::lock_guard lock(mutex_);
    return list_;
}

std::uint64_t KnownPlanes::Replace(const std::shared_ptr<PlaneList>& list) {
    std::shared_ptr<const PlaneList> before;  // ends after the lock
    const std::lock_guard lock(mutex_);
    list->id = ++lists_;
    before = std::exchange(list_, list);
    return list->id;
}

std::uint32_t KnownPlanes::Add(detection::FoundPlane grown) {
    const std::lock_guard lock(mutex_);
    grown_.push_back({nextGrown_++, std::move(grown)});
    if (grown_.size() > kMostGrown) grown_.pop_front();
    return grown_.back().number;
}

Expected<std::vector<NumberedPlane>> KnownPlanes::Choose(
    const std::vector<std::uint32_t>& numbers) const {
    const std::lock_guard lock(mutex_);
    std::vector<NumberedPlane> chosen;
    for (const std::uint32_t number : numbers) {
        const detection::FoundPlane* const plane = Find(list_.get(), grown_, number);
        if (plane == nullptr)
            return Fail(ErrorCode::BadInput, fmt::format("there is no plane {}", number));
        chosen.push_back({number, *plane});
    }
    return chosen;
}

}  // namespace orvix::view
