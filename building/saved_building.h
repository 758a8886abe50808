// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "building/building.h"
#include "orvix/platform/error.h"
#include "orvix/platform/export.h"

namespace orvix {
class CProjectCore;
class ProjectManager;
}  // namespace orvix

namespace orvix::building {

/// Whether a building may be saved in a project: where nothing is stored, or what is stored is not of
/// a later version of this library. Ask it before a search whose result is to be saved.
///
/// Errors   BadInput for a file of a later version; Failure where it cannot be read. A damaged file
///          may be replaced: unlike planes, a building has no numbers that outlive it.
ORVIX_API Expected<void> RequireSavable(const ProjectManager& paths);

/// Stores a building in the project that it was found in, in place of the one stored so far.
///
/// Errors   those of RequireSavable; Failure where points cannot be mapped or another program saves;
///          NoSpace and Failure of writing. What was stored before stays.
/// Cost     half a million points are read at most. Memory: the file's bytes.
ORVIX_API Expected<void> SaveBuilding(const ProjectManager& paths, const CProjectCore& core,
                                      const Building& building);

/// The building that the project stores, as it was saved, to the last bit.
///
///     auto building = OpenSavedBuilding(manager, core);
///     if (!building) return Report(building.error());
///     for (const Room& room : building->rooms) Use(room.plan, room.area);
///
/// Errors   BadInput where none is stored, and where the points are not those that it was found in: as
///          of saved planes their number is compared, and the coordinates of 16 blocks spread evenly
///          (BEHAVIOUR A13, M1). Damaged for a file that contradicts itself.
/// Cost     half a million points are read at most. Memory: about the file's size.
ORVIX_API Expected<Building> OpenSavedBuilding(const ProjectManager& paths,
                                               const CProjectCore& core);

}  // namespace orvix::building
