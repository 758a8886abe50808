// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "orvix/project/transform_file.h"
#include "view/planes/known_planes.h"
#include "view/planes/scratch.h"

namespace orvix::view {

/// Planes as a file of a format that ExportRequestOf takes: what `orvix planes` writes of them, with
/// --mesh or --outlines. `name` is the project's; the page keeps the file under a name made of it.
///
/// Errors  those of output::WriteMesh and output::WriteOutlines.
/// Cost    the file lies in `scratch` until it is sent.
Expected<Answer> ExportOf(const std::vector<NumberedPlane>& planes, const std::string& format,
                          const detail::LocalToWorld& frame, const std::string& name,
                          Scratch& scratch);

}  // namespace orvix::view
