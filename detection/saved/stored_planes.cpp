// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/saved/stored_planes.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "detection/saved/plane_records.h"
#include "detection/saved/skeleton_blocks.h"
#include "orvix/points/stream_hash.h"
#include "orvix/project/saved/sampled_blocks.h"

namespace orvix::detection {
namespace {

using detail::CloudPart;

constexpr std::uint64_t kBlock = detail::PlanesFileStart::kBlockPoints;

}  // namespace

Expected<std::unique_ptr<StoredPlanes>> StoredPlanes::Open(const CString& path,
                                                           const CProjectCore& core) {
    auto saved = detail::SavedPlanes::Open(path);
    if (!saved) return ErrorOf(saved);
    std::unique_ptr<StoredPlanes> stored(new StoredPlanes(path, std::move(*saved)));
    if (auto same = stored->RequireCloud(core); !same) return ErrorOf(same);
    return stored;
}

StoredPlanes::StoredPlanes(CString path, detail::SavedPlanes&& saved)
    : path_(std::move(path)), saved_(std::move(saved)), settings_(SettingsOf(saved_.Search())) {
    std::vector<std::uint32_t> numbers;
    for (const detail::SavedPlane& plane : saved_.Planes()) {
        planes_.push_back(FoundPlaneOf(plane));
        numbers.push_back(plane.number);
    }
    SetNumbers(std::move(numbers));
}

std::uint64_t StoredPlanes::Points() const {
    return saved_.Search().points;
}
std::uint64_t StoredPlanes::AssignedPoints() const {
    return saved_.Search().assignedPoints;
}
std::uint64_t StoredPlanes::Cells() const {
    return saved_.Search().cells;
}
std::uint64_t StoredPlanes::LeftOut() const {
    return saved_.Search().leftOut;
}
Detail StoredPlanes::SearchDetail() const {
    return static_cast<Detail>(saved_.Search().detail);
}
std::uint64_t StoredPlanes::FirstRecord(std::size_t chunk) const {
    return std::min(std::uint64_t{chunk} * detail::PlanesFileStart::kBlockPoints, Points());
}
std::size_t StoredPlanes::Chunks() const {
    return saved_.Blocks(CloudPart::Points);
}

tl::unexpected<Error> StoredPlanes::OtherPoints() const {
    return Fail(ErrorCode::BadInput,
                fmt::format("{}: the project's points have changed since these planes were saved; "
                            "save the planes again",
                            platform::ToUtf8(path_)));
}

Expected<void> StoredPlanes::RequireCloud(const CProjectCore& core) const {
    if (static_cast<std::uint64_t>(core.AlivePointCount()) != Points() ||
        static_cast<std::uint64_t>(core.SkeletPointCount()) != saved_.PointsOf(CloudPart::Skeleton))
        return OtherPoints();
    if (Points() == 0) return {};
    const auto reader = core.CreateAlivePointReader();
    if (!reader) return PointsNotMapped();
    for (const std::uint64_t block : detail::SampledBlocks(Points())) {
        if (auto same = ReadChunk(*reader, block, [](const auto&) {}); !same) return same;
    }
    return {};
}

Expected<void> StoredPlanes::PlanesOfBlock(CloudPart part, std::uint64_t block,
                                           std::uint64_t placesHash,
                                           std::vector<std::int32_t>& planes) const {
    if (placesHash != saved_.PlacesHashOf(part, block)) return OtherPoints();  // BEHAVIOUR A13
    std::vector<detail::PlaneRun> runs;
    if (auto read = saved_.ReadBlock(part, block, runs); !read) return read;
    planes.clear();
    for (const detail::PlaneRun& run : runs) planes.insert(planes.end(), run.count, run.plane);
    return {};
}

Expected<void> StoredPlanes::ReadChunk(CAlivePointReader& reader, std::size_t chunk,
                                       const std::function<void(const PlanePoints&)>& use) const {
    const std::uint32_t count = detail::PointsOfBlock(Points(), chunk);
    std::vector<CCloudPoint<float>> points;
    reader.ReadIndexPoints(chunk * kBlock, count, points);
    if (points.size() != count) return PointsNotMapped();
    std::vector<std::int32_t> planes;
    auto read = PlanesOfBlock(CloudPart::Points, chunk, detail::PlacesHash(points), planes);
    if (read) use({chunk * kBlock, points, planes});
    return read;
}

Expected<void> StoredPlanes::ReadSkeleton(CAlivePointReader& reader,
                                          const SkeletonPlanesUse& use) const {
    std::uint64_t block = 0;
    std::vector<std::int32_t> planes;
    return ForEachSkeletonBlock(reader, saved_.PointsOf(CloudPart::Skeleton), kBlock,
                                [&](std::span<const SimplePointT<float>> places) -> Expected<void> {
                                    auto read = PlanesOfBlock(CloudPart::Skeleton, block++,
                                                              detail::PlacesHash(places), planes);
                                    if (read) use(places, planes);
                                    return read;
                                });
}

}  // namespace orvix::detection
