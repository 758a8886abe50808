// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "output/mesh/mesh_writer.h"
#include "reports/planes_report.h"

namespace orvix::output {

/// The planes' faces, and which are whose.
struct PlanesMesh {
    detail::TriangleMesh mesh;
    std::vector<MeshPart> parts;
};

/// The planes' faces within their outlines and holes, each plane a part named plane_N_KIND.
///
/// Shape  a part's corners are the outline's, each once, and no others; its triangles are
///        counter-clockwise seen from where the normal points, none without area, and an edge
///        between two of them is the same edge of both.
/// Order  a function of the planes alone.
/// Cost   n log n of a plane's corners.
PlanesMesh MeshOfPlanes(const std::vector<detection::FoundPlane>& found,
                        const detail::LocalToWorld& frame,
                        const std::vector<reports::WorldPlane>& planes);
PlanesMesh MeshOfPlanes(const detection::PlaneSet& set, const detail::LocalToWorld& frame,
                        const std::vector<reports::WorldPlane>& planes);

}  // namespace orvix::output
