// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <functional>
#include <memory>

#include "detection/plane_set.h"
#include "orvix/platform/export.h"

namespace orvix {
class CProjectCore;
class ProjectManager;
}  // namespace orvix

namespace orvix::detection {

/// How many planes of a save have the number that an earlier save gave them, how many have a new
/// one, and how many numbers are of planes that are gone.
struct SaveReport {
    std::size_t kept = 0;
    std::size_t added = 0;
    std::size_t gone = 0;
};

/// Whether planes may be saved over what the project stores: nothing, or a whole file. Ask it
/// before a search whose result is to be saved.
///
/// Errors   Damaged for a file that contradicts itself; Failure where it cannot be read.
ORVIX_API Expected<void> RequireSavable(const ProjectManager& paths);

/// Stores planes in the project, in place of those it stores, and numbers them in `planes`.
///
/// A plane that covers the surface of an earlier one keeps its number (KeptNumbers); so a search
/// after the points' classes or colours were edited gives the same numbers.
///
/// Errors   those of RequireSavable and of ReadChunk; NoSpace and Failure of writing; Cancelled once
///          `proceed`, which may be empty, returns false. What was stored before stays.
/// Cost     one pass over points and skeleton on the calling thread. Memory: 16 bytes per 32,768
///          points, and a megabyte.
ORVIX_API Expected<SaveReport> SavePlanes(const ProjectManager& paths, const CProjectCore& core,
                                          PlaneSet& planes, const std::function<bool()>& proceed);

/// The planes that the project stores, as the search that found them returned them.
///
///     auto planes = OpenSavedPlanes(manager, core);
///     if (!planes) return Report(planes.error());
///     Draw((*planes)->Planes());
///
/// Errors   BadInput where none are stored, and where the points are not those that were searched:
///          opening compares their number, and the coordinates of 16 blocks spread evenly; reading
///          compares every block that it hands over. What a host changes of a point beside its
///          coordinates does not matter. Damaged for a file that contradicts itself. BEHAVIOUR A13
/// Lifetime the core must outlive it.
/// Cost     half a million points are read at most. Memory: a block of points for each reader at
///          work, 786 KB.
ORVIX_API Expected<std::unique_ptr<PlaneSet>> OpenSavedPlanes(const ProjectManager& paths,
                                                              const CProjectCore& core);

}  // namespace orvix::detection
