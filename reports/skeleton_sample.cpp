// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/skeleton_sample.h"

#include <algorithm>
#include <cstring>

#include "orvix/geometry/vector.h"
#include "orvix/points/attributes.h"
#include "orvix/points/thinning.h"

namespace orvix::reports {

namespace {

using detail::operator-;

constexpr std::uint64_t kMaxPoints = 2'000'000;

}  // namespace

SkeletonSample SampleSkeleton(const WorldProject& project, const SimplePointT<double>& centre,
                              SkeletonStations stations) {
    SkeletonSample sample;
    CProjectCore& core = project.Core();
    const bool withStations = stations == SkeletonStations::Read;
    std::uint8_t* coordinates = core.SkeletCoordPtsMapAddress();
    std::uint8_t* data = withStations ? core.SkeletDataPtsMapAddress() : nullptr;
    auto count = static_cast<std::uint64_t>(core.SkeletPointCount());
    if (withStations)
        count = std::min<std::uint64_t>(count, core.SkeletDataPtsFileSize() / kSkeletonRecordBytes);
    if (coordinates == nullptr || (withStations && data == nullptr)) count = 0;
    const std::uint64_t stride = detail::StrideFor(count, kMaxPoints);
    for (std::uint64_t i = 0; i < count; i += stride) {
        SimplePointT<float> p;
        std::memcpy(&p, coordinates + i * kSkeletonRecordBytes, sizeof p);
        sample.points.push_back(project.frame.ToWorld(detail::Widened(p)) - centre);
        if (!withStations) continue;
        sample.stations.push_back(
            detail::TwoBytesAt(data + i * kSkeletonRecordBytes + detail::kSkeletonStationByte));
    }
    if (coordinates != nullptr) UnmapFileView(coordinates);
    if (data != nullptr) UnmapFileView(data);
    return sample;
}

}  // namespace orvix::reports
