// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <vector>

#include "orvix/platform/error.h"
#include "orvix/platform/text.h"
#include "reports/planes_report.h"

namespace orvix::output {

/// Whether the name's ending is one that WriteOutlines knows: .dxf, .geojson or .ifc, in any case.
bool IsOutlineName(const CString& path);

/// Writes the planes' outlines and holes, world coordinates, by the name's ending:
///
/// - .dxf: a closed 3D polyline per ring, on the layer ORVIX_FLOOR, ORVIX_WALL and so on (R12);
/// - .geojson: a feature per plane, a MultiPolygon with heights, outer rings counter-clockwise on
///   the map; coordinates are in the scan's own world system, which the file leaves open;
/// - .ifc: IFC4, an IfcSlab (floor, roof), IfcCovering (ceiling), IfcWall or
///   IfcBuildingElementProxy per plane, as a surface, with a property set Orvix_Plane that holds
///   the tolerance, the rms, the area and the points. The model's zero lies near the planes; a map
///   conversion says where. Identifiers and dates follow from the planes, not from the clock.
///
/// Errors   BadInput for another ending; NoSpace or Failure, with the path, when writing fails.
Expected<void> WriteOutlines(const CString& path, const std::vector<reports::WorldPlane>& planes);

}  // namespace orvix::output
