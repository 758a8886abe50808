// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/picture/picture_of_plane.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "orvix/geometry/rings.h"
#include "orvix/geometry/vector.h"
#include "orvix/planes/seed/plane_mesh.h"
#include "orvix/platform/amounts.h"
#include "reports/skeleton_sample.h"

namespace orvix::output {

namespace {

using detail::Vector, detail::operator-;

constexpr std::uint64_t kMaxPoints = 2'000'000;

std::string TiltText(const Vector& normal) {
    const double upright = std::asin(std::min(std::fabs(normal.z), 1.0)) * 180 / std::numbers::pi;
    if (upright < 45) return fmt::format("{:.1f} degrees off upright", upright);
    return fmt::format("{:.1f} degrees off level", 90 - upright);
}

}  // namespace

PlanePicture PictureOf(const reports::WorldProject& project, const reports::PlaneFinding& finding) {
    const detail::SeedPlane& grown = finding.grown;
    // World positions relative to the centroid, where a picture's arithmetic is at home.
    const auto near = [&](const Vector& local) {
        return project.frame.ToWorld(local) - finding.centroid;
    };
    PlanePicture picture;
    picture.normal = {finding.equation[0], finding.equation[1], finding.equation[2]};
    for (const Vector& p : detail::Thinned(grown.plane.data(), kMaxPoints))
        picture.plane.push_back(near(p));
    picture.cloud =
        reports::SampleSkeleton(project, finding.centroid, reports::SkeletonStations::Left).points;
    picture.cloudSpacing = project.Manager().cloudHeader.scale;
    detail::ForEachRing(grown.plane.Outline(), [&](const PlaneRing& ring) {
        picture.rings.emplace_back();
        for (const Vector& p : grown.plane.RingTo3D(ring)) picture.rings.back().push_back(near(p));
    });
    picture.seed = near(grown.seed);
    picture.rms = grown.rms;
    picture.title = fmt::format("Plane of {:.2f} m², rms {:.1f} mm", grown.area, grown.rms * 1000);
    picture.subtitle = fmt::format(
        "{} points in {} cells, largest distance {:.1f} mm, {}", platform::CountText(grown.points),
        platform::CountText(grown.cells), grown.maxDistance * 1000, TiltText(picture.normal));
    return picture;
}

}  // namespace orvix::output
