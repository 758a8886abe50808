// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "orvix/planes/seed/plane_mesh.h"
#include "orvix/platform/error.h"
#include "orvix/platform/text.h"

namespace orvix::output {

/// One of several parts of a mesh.
struct MeshPart {
    std::size_t first = 0;  ///< its first triangle; it ends where the next part begins
    std::string name;       ///< without blanks
};

/// Whether the name's ending is one that WriteMesh knows: .ply or .obj, in any case.
bool IsMeshName(const CString& path);

/// Writes a mesh as one text file, ASCII PLY (doubles) or Wavefront OBJ by the name's ending.
/// Coordinates are written with as many digits as it takes to read back the same doubles, so a
/// mesh in world coordinates loses nothing. A mesh of parts has a group for each in OBJ, and in PLY
/// a property `part` of each face, counted from 1.
///
/// The file appears when it is whole, and replaces another of its name then.
///
/// Errors   BadInput for another ending; NoSpace or Failure, with the path, when writing fails.
/// Cost     one pass through a buffer of 1 MiB.
Expected<void> WriteMesh(const CString& path, const detail::TriangleMesh& mesh,
                         const std::vector<MeshPart>& parts = {});

}  // namespace orvix::output
