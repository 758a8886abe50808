// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "reports/planes_report.h"

namespace orvix::output {

/// IFC's GlobalId of what a model says of planes, see output/ifc/global_id.h.
///
///     GlobalIdOf("project", planes);        // of what holds them all
///     GlobalIdOf("properties", {plane});    // of what belongs to one
///
/// A plane's identifiers do not depend on the planes beside it, nor on its number, which counts them:
/// only on its class, equation, centroid and points.
std::string GlobalIdOf(const std::string& role, const std::vector<reports::WorldPlane>& planes);

}  // namespace orvix::output
