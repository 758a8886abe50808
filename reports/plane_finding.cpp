// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/plane_finding.h"

#include <fmt/format.h>

#include <cmath>
#include <numbers>
#include <utility>

#include "orvix/planes/seed/project_cloud.h"
#include "orvix/planes/unsaved_settings.h"

namespace orvix::reports {

namespace {

using Vector = SimplePointT<double>;

detail::SeedPlaneOptions OptionsOf(const PlaneRequest& request,
                                   const std::function<bool()>& proceed) {
    detail::SeedPlaneOptions options;
    options.splitSize = request.splitSize.value_or(options.splitSize);
    if (request.angle) {
        const double radians = *request.angle * std::numbers::pi / 180;
        options.diffA = options.diffB = options.diffC = 2 * std::sin(radians / 2);
    }
    options.diffA = request.diffA.value_or(options.diffA);
    options.diffB = request.diffB.value_or(options.diffB);
    options.diffC = request.diffC.value_or(options.diffC);
    options.reach = request.reach.value_or(options.reach);
    options.maxDistance = request.distance.value_or(options.maxDistance);
    options.proceed = proceed;
    return options;
}

std::size_t HolesOf(const PlaneOutline& outline) {
    std::size_t holes = 0;
    for (const PlaneRegion& region : outline.regions) holes += region.holes.size();
    return holes;
}

// Growth speaks of the project's own frame; who gave a world seed wants to know where that lies.
tl::unexpected<Error> WithOrigin(Error error, const detail::LocalToWorld& frame) {
    const Vector origin = frame.Origin();
    const bool apart = origin.x != 0 || origin.y != 0 || origin.z != 0;
    if (error.code == ErrorCode::BadInput && apart)
        error.message += fmt::format(" (local 0, 0, 0 is {}, {}, {} in the world)", origin.x,
                                     origin.y, origin.z);
    return tl::unexpected<Error>(std::move(error));
}

Expected<detail::SeedPlane> Grow(const WorldProject& project, const PlaneRequest& request,
                                 const std::function<bool()>& proceed) {
    const Vector asked{request.seed[0], request.seed[1], request.seed[2]};
    const Vector seed = request.local ? asked : project.frame.ToLocal(asked);
    auto settings = detail::SettingsUnsaved(project.Manager().projectFile);
    if (!settings) return ErrorOf(settings);
    settings->aliveMinPlane = request.minPlane.value_or(settings->aliveMinPlane);
    detail::ProjectCloud cloud(project.Core());
    return detail::GrowPlaneFromSeed(cloud, *settings, seed, OptionsOf(request, proceed));
}

}  // namespace

Expected<PlaneFinding> FindPlane(const WorldProject& project, const PlaneRequest& request,
                                 const std::function<bool()>& proceed) {
    auto grown = Grow(project, request, proceed);
    if (!grown) return WithOrigin(grown.error(), project.frame);
    PlaneFinding finding;
    finding.grown = std::move(*grown);
    const FittedPlane& plane = finding.grown.plane;
    finding.equation = detail::WorldEquation(plane, project.frame);
    finding.centroid = project.frame.ToWorld(Vector{plane.x(), plane.y(), plane.z()});
    finding.seed = project.frame.ToWorld(finding.grown.seed);
    finding.holes = HolesOf(plane.Outline());
    return finding;
}

}  // namespace orvix::reports
