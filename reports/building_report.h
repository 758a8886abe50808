// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <vector>

#include "building/building.h"
#include "building/find_building.h"
#include "detection/plane_search.h"
#include "detection/plane_set.h"
#include "orvix/project/project_core.h"
#include "orvix/project/project_manager.h"

namespace orvix::reports {

/// A building of a project, and what was done to have it.
struct BuildingFinding {
    building::Building building;        ///< project frame
    std::optional<std::size_t> planes;  ///< it was found in; none of a building that was read
    bool planesRead = false;            ///< the project kept these planes: there was no search
    double planesSeconds = 0;           ///< for finding or reading the planes
    double seconds = 0;                 ///< for finding the building in them, or for reading it
};

/// Which planes a building is found in.
enum class PlanesWanted { SavedIfAny, Searched };

/// Finds the building that a project shows: in the planes that the project keeps, where they are of
/// its points, else in those of a search. The stations of both options are set here, from where the
/// scanners stood.
///
///     auto found = FindBuilding(manager, core, PlanesWanted::SavedIfAny, search, options);
///     if (!found) return Report(found.error());
///     Use(found->building);
///
/// Order   progress, that of `options`, is of both together: searching planes is six tenths of it.
/// Errors  those of PlaneSearch::Run, of OpenSavedPlanes but BadInput, of building::FindBuilding, and a
///         station file that is there and cannot be read.
Expected<BuildingFinding> FindBuilding(const ProjectManager& manager, CProjectCore& core,
                                       PlanesWanted wanted, detection::PlaneSearchOptions search,
                                       building::BuildingOptions options);

/// The same in planes that somebody has.
Expected<BuildingFinding> FindBuildingIn(const ProjectManager& manager, CProjectCore& core,
                                         const detection::PlaneSet& planes,
                                         building::BuildingOptions options);

/// Reads the building that the project keeps. Errors: those of building::OpenSavedBuilding.
Expected<BuildingFinding> ReadBuilding(const ProjectManager& manager, const CProjectCore& core);

/// Sums over a building, for people.
struct BuildingSums {
    double floorArea = 0;   ///< of all rooms, square metres
    double volume = 0;      ///< of all rooms
    double wallArea = 0;    ///< of one face of each wall, openings taken out
    std::size_t faces = 0;  ///< walls of which one face was seen
    std::size_t doors = 0;
    std::size_t windows = 0;
    std::size_t holes = 0;
};

BuildingSums SumsOf(const building::Building& building);

}  // namespace orvix::reports
