// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "orvix/planes/seed/plane_from_seed.h"
#include "output/mesh/mesh_writer.h"
#include "output/picture/plane_picture.h"

namespace orvix::cli {

/// What to search for. Empty options are those of SeedPlaneOptions.
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
    bool wantMesh = false;
    bool wantPicture = false;
};

/// A plane found, told in world coordinates, with what was asked for beside it.
struct PlaneFinding {
    detail::SeedPlane grown;
    std::array<double, 4> equation{};  ///< unit normal and d
    SimplePointT<double> centroid;
    SimplePointT<double> seed;  ///< the cloud's point that growth started from
    std::size_t holes = 0;
    std::optional<detail::TriangleMesh> mesh;
    std::optional<output::PlanePicture> picture;
};

/// Opens a project as a host does, grows the plane at a seed, and gathers what a mesh and a
/// picture of it take.
///
/// Units   metres, world coordinates; the angle in degrees. A normal turned by the angle differs
///         in each component by at most 2 sin(angle / 2), which is the tolerance used.
/// Errors  those of opening and of GrowPlaneFromSeed; BadInput where no outline can be drawn for a
///         mesh, because the points lie on one line.
/// Cost    a picture reads at most two million points of the skeleton, whatever its size.
Expected<PlaneFinding> FindPlane(const CString& project, const PlaneRequest& request,
                                 const std::function<bool()>& proceed);

}  // namespace orvix::cli
