// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"
#include "reports/deviation/elements.h"

namespace orvix::reports {

/// Reads the elements of a Wavefront OBJ file: each object (`o`) or group (`g`) is one.
///
/// A name of the form "GlobalId IfcClass Name" gives an element its id, kind and name:
/// "2O2Fr$t4X7Zf8NOew3FNr2 IfcWall North wall". Any other name is the name alone.
///
/// Units      metres, z up, world coordinates, as the file has them.
/// Shape      faces of more than three corners are cut into triangles, concave ones too; their corners
///            should be flat. Lines, points, normals, textures and materials are passed over.
/// Boundaries a name that comes again goes on with its element; faces before any name are of an
///            element without one; elements without faces are left out. Elements come in the order of
///            their first names.
/// Errors     BadInput with the line, for a number that is none or not finite, for a corner that
///            was not defined before and for a face of more than 1,000; BadInput for a file without faces; Failure where it cannot be read.
/// Cost       some 10 million lines a minute; 24 bytes a corner and 72 a triangle.
Expected<std::vector<DrawnElement>> ReadObjElements(const CString& path);

}  // namespace orvix::reports
