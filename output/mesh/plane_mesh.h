// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/planes/seed/plane_mesh.h"
#include "reports/plane_finding.h"

namespace orvix::output {

/// The surface of a plane found, in world coordinates: detail::MeshOfPlane over its points.
///
/// Errors  BadInput where the points enclose no area, because they lie on one line.
Expected<detail::TriangleMesh> MeshOf(const reports::WorldProject& project,
                                      const reports::PlaneFinding& finding);

}  // namespace orvix::output
