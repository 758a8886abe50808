// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "building/building.h"
#include "orvix/platform/error.h"
#include "orvix/platform/text.h"
#include "orvix/project/transform_file.h"
#include "output/plans/draw_plans.h"

namespace orvix::output {

/// Whether the name's ending is one that WriteBuilding knows, in any case.
bool IsBuildingName(const CString& path);

/// The endings that WriteBuilding knows, for a sentence: ".ifc, .obj, .json, .svg, .dxf or
/// .png".
std::string BuildingEndings();

/// Writes a building, world coordinates, by the name's ending:
///
/// - .ifc: IFC4, storeys with walls, doors, windows, slabs, spaces and a roof (building_ifc.h);
/// - .obj: triangles of all elements, a group each: wall_3, door_2, room_1.2;
/// - .json: all that is known of each element (building_json.h);
/// - .svg, .dxf, .png: plans of all storeys, drawn as `plans` says (write_plans.h).
///
/// `frame` leads from the project's frame, in which the building is, to the world.
///
/// Errors   BadInput for another ending, and for a frame that the format cannot state; NoSpace or
///          Failure, with the path, when writing fails. A file of that name stays until then.
Expected<void> WriteBuilding(const CString& path, const building::Building& building,
                             const detail::LocalToWorld& frame, const PlanOptions& plans = {});

}  // namespace orvix::output
