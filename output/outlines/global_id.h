// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "reports/planes_report.h"

namespace orvix::output {

/// IFC's GlobalId of what a model says of planes: a UUID of version 8 in 22 of IFC's digits.
///
///     GlobalIdOf("project", planes);        // of what holds them all
///     GlobalIdOf("properties", {plane});    // of what belongs to one
///
/// The same planes give the same identifiers at any time and on every system, and other planes
/// other ones, so that models of several scans can be put together and a model that is made again
/// takes the place of the one before. A plane's identifiers do not depend on the planes beside it,
/// nor on its number, which counts them: only on its class, equation, centroid and points.
///
/// Source  XXH3 with 128 bits (Y. Collet) over the values; RFC 9562, 5.8 for version 8.
std::string GlobalIdOf(const std::string& role, const std::vector<reports::WorldPlane>& planes);

}  // namespace orvix::output
