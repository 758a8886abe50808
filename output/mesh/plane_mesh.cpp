// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/mesh/plane_mesh.h"

#include <fmt/format.h>

namespace orvix::output {

Expected<detail::TriangleMesh> MeshOf(const reports::WorldProject& project,
                                      const reports::PlaneFinding& finding) {
    const detail::SeedPlane& grown = finding.grown;
    // BEHAVIOUR C7
    auto mesh = detail::MeshOfPlane(
        grown.plane, detail::Thinned(grown.plane.data(), detail::SeedPlaneOptions{}.outlinePoints),
        project.frame, finding.equation);
    if (!mesh || !mesh->triangles.empty()) return mesh;
    return Fail(ErrorCode::BadInput,
                fmt::format("the plane's {} points enclose no area, so there is no mesh; choose "
                            "another seed, or a larger --distance",
                            grown.points));
}

}  // namespace orvix::output
