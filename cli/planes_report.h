// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <string>
#include <vector>

#include "cli/mesh/mesh_writer.h"
#include "detection/plane_search.h"
#include "orvix/project/transform_file.h"

namespace orvix::cli {

/// A plane as people get it: numbered from 1, in world coordinates.
struct WorldPlane {
    using Ring = std::vector<SimplePointT<double>>;
    struct Region {
        Ring outer;
        std::vector<Ring> holes;
    };

    std::size_t number = 0;
    std::string kind;                  ///< floor, ceiling, wall, roof, other
    std::array<double, 4> equation{};  ///< unit normal and d
    SimplePointT<double> centroid;
    std::uint64_t points = 0;
    double rms = 0;
    double area = 0;
    std::vector<Region> regions;  ///< counter-clockwise seen from where the normal points
};

std::vector<WorldPlane> WorldPlanesOf(const detection::PlaneSearch& search,
                                      const LocalToWorld& frame);

/// The planes' faces, and which are whose.
struct PlanesMesh {
    TriangleMesh mesh;
    std::vector<MeshPart> parts;
};

/// The planes' faces within their outlines and holes, each plane a part named plane_N_KIND.
PlanesMesh MeshOfPlanes(const detection::PlaneSearch& search, const LocalToWorld& frame,
                        const std::vector<WorldPlane>& planes);

}  // namespace orvix::cli
