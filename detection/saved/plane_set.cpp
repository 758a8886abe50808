// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/plane_set.h"

#include <numeric>

#include "detection/saved/skeleton_blocks.h"
#include "orvix/project/project_core.h"

namespace orvix::detection {

PlaneSet::~PlaneSet() = default;

SearchedPlanes::SearchedPlanes(const CProjectCore& core, const PlaneSearch& search, Detail detail)
    : core_(core), search_(search), detail_(detail) {
    std::vector<std::uint32_t> numbers(search.Planes().size());
    std::iota(numbers.begin(), numbers.end(), 1U);
    SetNumbers(std::move(numbers));
}

const PlaneSearchSettings& SearchedPlanes::Settings() const {
    return search_.Settings();
}
const std::vector<FoundPlane>& SearchedPlanes::Planes() const {
    return search_.Planes();
}
std::uint64_t SearchedPlanes::Points() const {
    return search_.Points();
}
std::uint64_t SearchedPlanes::AssignedPoints() const {
    return search_.AssignedPoints();
}
std::uint64_t SearchedPlanes::Cells() const {
    return search_.Cells();
}
std::uint64_t SearchedPlanes::LeftOut() const {
    return search_.LeftOut();
}
Detail SearchedPlanes::SearchDetail() const {
    return detail_;
}
std::uint64_t SearchedPlanes::FirstRecord(std::size_t chunk) const {
    return search_.FirstRecord(chunk);
}
std::size_t SearchedPlanes::Chunks() const {
    return search_.Chunks();
}

Expected<void> SearchedPlanes::ReadChunk(CAlivePointReader& reader, std::size_t chunk,
                                         const std::function<void(const PlanePoints&)>& use) const {
    return search_.ReadChunk(reader, chunk, use);
}

Expected<void> SearchedPlanes::ReadSkeleton(CAlivePointReader& reader,
                                            const SkeletonPlanesUse& use) const {
    constexpr std::uint64_t kBlock = 4096;
    std::vector<std::int32_t> planes;
    return ForEachSkeletonBlock(reader, static_cast<std::uint64_t>(core_.SkeletPointCount()),
                                kBlock,
                                [&](std::span<const SimplePointT<float>> places) -> Expected<void> {
                                    planes.clear();
                                    for (const SimplePointT<float>& p : places)
                                        planes.push_back(search_.PlaneOf({p.x, p.y, p.z}));
                                    use(places, planes);
                                    return {};
                                });
}

}  // namespace orvix::detection
