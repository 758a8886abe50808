// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <functional>

#include "detection/saved/plane_set.h"
#include "orvix/project/project_core.h"
#include "orvix/project/project_manager.h"

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
/// Errors   those of detail::SavedPlanes::Open, but for a file that is not there.
Expected<void> RequireSavable(const ProjectManager& paths);

/// Stores planes in the project, in place of those it stores, and numbers them in `planes`.
///
/// A plane that covers the surface of an earlier one keeps its number (KeptNumbers); so a search
/// after the points' classes or colours were edited gives the same numbers.
///
/// Errors   those of RequireSavable, of PlanesFileWriter and of ReadChunk; Cancelled once `proceed`
///          returns false. What was stored before stays.
/// Cost     one pass over points and skeleton on the calling thread. Memory: 16 bytes per 32,768
///          points, and a megabyte.
Expected<SaveReport> SavePlanes(const ProjectManager& paths, const CProjectCore& core,
                                PlaneSet& planes, const std::function<bool()>& proceed);

}  // namespace orvix::detection
