// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/plane_groups.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>

#include "orvix/geometry/vector.h"

namespace orvix::detection {
namespace {

using detail::Dot, detail::Vector;
using detail::operator-, detail::operator*;

constexpr double kMinCosine = 0.99939082701909573;  // of 2 degrees
constexpr double kDrift = 0.001;                    // metres for each metre between centres
constexpr double kStep = 0.05;                      // of a bucket of normals; above 2 sin(1 degree)

using Bucket = std::array<std::int32_t, 3>;

Bucket BucketOf(const Vector& n) {
    const auto at = [](double part) { return static_cast<std::int32_t>(std::floor(part / kStep)); };
    return {at(n.x), at(n.y), at(n.z)};
}

// BEHAVIOUR A14
bool AreCoplanar(const FoundPlane& leader, const FoundPlane& plane) {
    if (std::abs(Dot(leader.normal, plane.normal)) < kMinCosine) return false;
    const Vector between = plane.centre - leader.centre;
    const double limit =
        std::max(leader.tolerance, plane.tolerance) + kDrift * std::sqrt(Dot(between, between));
    return std::abs(Dot(leader.normal, between)) <= limit;
}

/// The leaders of groups by the direction of their normals.
class Leaders {
public:
    explicit Leaders(const std::vector<FoundPlane>& planes) : planes_(planes) {}

    void Add(std::size_t plane) { buckets_[BucketOf(planes_[plane].normal)].push_back(plane); }
    /// The first leader that is coplanar with a plane, or the plane itself.
    [[nodiscard]] std::size_t LeaderOf(std::size_t plane) const {
        const Vector& n = planes_[plane].normal;
        return std::min(FirstAround(BucketOf(n), plane), FirstAround(BucketOf(n * -1), plane));
    }

private:
    [[nodiscard]] std::size_t FirstAround(const Bucket& home, std::size_t plane) const {
        std::size_t first = plane;
        for (std::int32_t i = 0; i < 27; ++i) {
            const auto found =
                buckets_.find({home[0] + i / 9 - 1, home[1] + i / 3 % 3 - 1, home[2] + i % 3 - 1});
            if (found == buckets_.end()) continue;
            for (const std::size_t leader : found->second)
                if (leader < first && AreCoplanar(planes_[leader], planes_[plane])) first = leader;
        }
        return first;
    }

    const std::vector<FoundPlane>& planes_;
    std::map<Bucket, std::vector<std::size_t>> buckets_;
};

}  // namespace

void GroupCoplanar(std::vector<FoundPlane>& planes) {
    Leaders leaders(planes);
    std::int32_t groups = 0;
    for (std::size_t i = 0; i < planes.size(); ++i) {
        const std::size_t leader = leaders.LeaderOf(i);
        if (leader == i) leaders.Add(i);
        planes[i].group = leader == i ? ++groups : planes[leader].group;
    }
}

}  // namespace orvix::detection
