// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/picture/picture_of_planes.h"

#include <fmt/format.h>

#include "orvix/geometry/vector.h"
#include "orvix/platform/amounts.h"
#include "orvix/points/alive_point_reader.h"
#include "orvix/points/thinning.h"

namespace orvix::output {

namespace {

using detail::Vector, detail::operator-;

constexpr std::uint64_t kMaxPoints = 3'000'000;

bool IsCeiling(const detection::PlaneSet& set, std::int32_t plane) {
    return plane >= 0 &&
           set.Planes()[static_cast<std::size_t>(plane)].kind == detection::PlaneKind::Ceiling;
}

SimplePointT<float> Narrowed(const Vector& p) {
    return {static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)};
}

std::vector<PlanesPicture::Point> PointsOf(const reports::WorldProject& project,
                                           const detection::PlaneSet& set) {
    std::vector<PlanesPicture::Point> points;
    if (set.Points() == 0) return points;
    const std::uint64_t stride = detail::StrideFor(set.Points(), kMaxPoints);
    const Vector origin = project.frame.Origin();
    const auto add = [&](const detection::PlanePoints& block) {
        for (std::size_t i = 0; i < block.points.size(); ++i) {
            if ((block.firstRecord + i) % stride != 0) continue;
            const auto& p = block.points[i];
            const Vector at = project.frame.ToWorld(Vector{p.x, p.y, p.z});
            const std::int32_t plane = block.planes[i];
            points.push_back({Narrowed(at - origin), set.NumberOf(plane), IsCeiling(set, plane)});
        }
    };
    const auto reader = project.Core().CreateAlivePointReader();
    // A view that is missing leaves the picture without the points from there on.
    for (std::size_t chunk = 0; chunk < set.Chunks(); ++chunk)
        if (!set.ReadChunk(*reader, chunk, add)) break;
    return points;
}

}  // namespace

PlanesPicture PictureOf(const reports::WorldProject& project,
                        const reports::PlanesFinding& finding) {
    const detection::PlaneSet& set = *finding.set;
    PlanesPicture picture;
    picture.points = PointsOf(project, set);
    picture.spacing = set.Settings().spacing;
    picture.title = fmt::format("{} planes, {:.1f} m²", platform::CountText(finding.planes.size()),
                                finding.Area());
    picture.subtitle =
        fmt::format("{} of {} points within {:.1f} mm; grey: on none",
                    platform::CountText(set.AssignedPoints()), platform::CountText(set.Points()),
                    set.Settings().distance * 1000);
    return picture;
}

}  // namespace orvix::output
