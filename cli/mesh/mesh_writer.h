// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "orvix/planes/plane_mesh.h"
#include "orvix/platform/error.h"
#include "orvix/platform/text.h"

namespace orvix::cli {

/// Whether the name's ending is one that WriteMesh knows: .ply or .obj, in any case.
bool IsMeshName(const CString& path);

/// Writes a mesh as one text file, ASCII PLY (doubles) or Wavefront OBJ by the name's ending.
/// Coordinates are written with as many digits as it takes to read back the same doubles, so a
/// mesh in world coordinates loses nothing.
///
/// The file appears when it is whole, and replaces another of its name then.
///
/// Errors   BadInput for another ending; NoSpace or Failure, with the path, when writing fails.
/// Cost     one pass through a buffer of 1 MiB.
Expected<void> WriteMesh(const CString& path, const TriangleMesh& mesh);

}  // namespace orvix::cli
