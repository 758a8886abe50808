// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/planes/seed/slab.h"

#include <algorithm>
#include <cmath>

#include "orvix/planes/plane_vectors.h"

namespace orvix::detail {
namespace {

constexpr std::uint64_t kBytesPerPoint = 160;

Expected<void> Visit(CloudSource& cloud, const Slab& slab, std::uint64_t stride,
                     const Proceed& proceed, const TakePoint& take) {
    std::vector<CCloudPoint<float>> buffer;
    bool cancelled = false;
    // Once cancelled no box is entered any more, and the walk ends soon.
    const auto enter = [&](const ExtendsT<double>& box) { return !cancelled && slab.Meets(box); };
    const auto read = [&](const CloudCell& cell) {
        cancelled = cancelled || (proceed && !proceed());
        if (cancelled) return;
        cloud.ReadCell(cell, buffer);
        for (std::size_t i = 0; i < buffer.size(); i += stride) {
            const auto& p = buffer[i];
            if (slab.Contains({p.x, p.y, p.z})) take({p.x, p.y, p.z}, cell.run.offset + i);
        }
    };
    auto walked = cloud.VisitCells(enter, read);
    if (cancelled) return CancelledSearch();
    return walked;
}

}  // namespace

tl::unexpected<Error> CancelledSearch() {
    return Fail(ErrorCode::Cancelled, "the plane search was cancelled");
}

bool Slab::Meets(const ExtendsT<double>& box) const {
    const Vector normal = UnitNormal(plane);
    const Vector half = (box.max - box.min) * 0.5;
    const Vector middle = box.min + half;
    const double span =
        std::abs(normal.x) * half.x + std::abs(normal.y) * half.y + std::abs(normal.z) * half.z;
    if (std::abs(Distance(plane, middle)) > halfThickness + span) return false;
    const Vector outside{std::max(std::abs(centre.x - middle.x) - half.x, 0.0),
                         std::max(std::abs(centre.y - middle.y) - half.y, 0.0),
                         std::max(std::abs(centre.z - middle.z) - half.z, 0.0)};
    return Length(outside) <= radius;
}

bool Slab::Contains(const SimplePointT<double>& p) const {
    return std::abs(Distance(plane, p)) <= halfThickness && Length(p - centre) <= radius;
}

Expected<void> VisitSlab(CloudSource& cloud, const Slab& slab, const Proceed& proceed,
                         const TakePoint& take) {
    return Visit(cloud, slab, 1, proceed, take);
}

Expected<SlabPoints> LoadSlab(CloudSource& cloud, const Slab& slab, std::uint64_t memoryLimitBytes,
                              const Proceed& proceed) {
    std::uint64_t candidates = 0;
    auto counted = cloud.VisitCells([&](const ExtendsT<double>& box) { return slab.Meets(box); },
                                    [&](const CloudCell& cell) { candidates += cell.run.count; });
    if (!counted) return ErrorOf(counted);
    const std::uint64_t room = std::max<std::uint64_t>(memoryLimitBytes / kBytesPerPoint, 1);
    SlabPoints loaded;
    const std::uint64_t stride = candidates / room + (candidates % room != 0 ? 1 : 0);
    loaded.thinning = static_cast<std::uint32_t>(std::clamp<std::uint64_t>(stride, 1, UINT32_MAX));
    auto read = Visit(cloud, slab, loaded.thinning, proceed,
                      [&](const SimplePointT<float>& p, std::uint64_t record) {
                          loaded.points.push_back(p);
                          loaded.records.push_back(record);
                      });
    if (!read) return ErrorOf(read);
    return loaded;
}

}  // namespace orvix::detail
