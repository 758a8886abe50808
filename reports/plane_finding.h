// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>

#include "orvix/planes/seed/plane_from_seed.h"
#include "reports/world_project.h"

namespace orvix::reports {

/// Where to grow a plane, and how. Empty options are those of SeedPlaneOptions.
struct PlaneRequest {
    std::array<double, 3> seed{};
    bool local = false;  ///< the seed is in the project's own frame
    std::optional<double> splitSize;
    std::optional<double> angle;  ///< degrees; sets all three tolerances
    std::optional<double> diffA;
    std::optional<double> diffB;
    std::optional<double> diffC;
    std::optional<std::int32_t> minPlane;  ///< most points handed on per cell, above 2
    std::optional<double> reach;
    std::optional<double> distance;
};

/// The plane at a seed, in world coordinates.
struct PlaneFinding {
    detail::SeedPlane grown;           ///< in the project's own frame
    std::array<double, 4> equation{};  ///< unit normal and d
    SimplePointT<double> centroid;
    SimplePointT<double> seed;  ///< the cloud's point that growth started from
    std::size_t holes = 0;
};

/// Grows the plane at a seed, and carries it into the world.
///
///     const auto project = WorldProject::Open(path);
///     const auto plane = FindPlane(*project, {.seed = {12.4, 3.08, 1.5}}, proceed);
///
/// Units   metres, world coordinates; the angle in degrees. A normal turned by the angle differs
///         in each component by at most 2 sin(angle / 2), which is the tolerance used.
/// Errors  those of GrowPlaneFromSeed.
/// Source  the project's search settings, which are read and not stored (detail::SettingsUnsaved).
Expected<PlaneFinding> FindPlane(const WorldProject& project, const PlaneRequest& request,
                                 const std::function<bool()>& proceed);

}  // namespace orvix::reports
