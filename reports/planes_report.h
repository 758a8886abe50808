// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "detection/plane_set.h"
#include "detection/search_stages.h"
#include "reports/world_project.h"

namespace orvix::reports {

/// A plane in world coordinates, with its number from 1.
struct WorldPlane {
    using Ring = std::vector<SimplePointT<double>>;
    struct Region {
        Ring outer;
        std::vector<Ring> holes;
    };

    std::size_t number = 0;
    std::size_t group = 0;             ///< from 1: that of all planes on one endless plane
    std::string kind;                  ///< floor, ceiling, wall, roof, other
    std::array<double, 4> equation{};  ///< unit normal and d
    SimplePointT<double> centroid;
    std::uint64_t points = 0;
    double rms = 0;
    double tolerance = 0;  ///< metres: largest distance of a point from the plane of its cells
    double area = 0;
    std::vector<Region> regions;  ///< counter-clockwise seen from where the normal points
};

/// "fine", "normal" or "coarse".
const char* WordOf(detection::Detail detail);

/// Numbered in their order.
std::vector<WorldPlane> WorldPlanesOf(const std::vector<detection::FoundPlane>& planes,
                                      const detail::LocalToWorld& frame);

/// All planes of a project, in its own frame and in the world, and how long finding or reading them
/// took.
struct PlanesFinding {
    std::unique_ptr<detection::PlaneSearch> search;  ///< none of planes that the project stored
    std::unique_ptr<detection::PlaneSet> set;
    std::vector<WorldPlane> planes;
    double seconds = 0;

    [[nodiscard]] double Area() const;  ///< of all planes, square metres
    /// Takes over the numbers that the set has.
    void Renumber();
};

/// Finds all planes; `options.stations` are set here, from where the scanners stood.
///
/// Errors   those of PlaneSearch::Run.
/// Lifetime `project` must outlive the result.
Expected<PlanesFinding> FindPlanes(const WorldProject& project,
                                   detection::PlaneSearchOptions options);

/// The same of a search whose passes over the points were made elsewhere, in tasks. Errors: those of
/// PlaneSearch::Finish.
Expected<PlanesFinding> FinishPlanes(const WorldProject& project,
                                     const detection::SearchStages& stages,
                                     detection::PlaneSearchOptions how);

/// Reads the planes that an earlier search stored in the project.
///
/// Errors   those of OpenSavedPlanes.
/// Lifetime as of FindPlanes.
Expected<PlanesFinding> ReadPlanes(const WorldProject& project);

/// The planes that the project stores; where it stores none, or planes of other points, those that a
/// search finds.
///
/// Errors   those of ReadPlanes but BadInput, and of FindPlanes.
/// Lifetime as of FindPlanes.
Expected<PlanesFinding> StoredOrFoundPlanes(const WorldProject& project,
                                            const detection::PlaneSearchOptions& options);

/// Whether the outline runs clockwise seen from where the plane's normal points.
bool IsTurned(const detection::FoundPlane& plane);

}  // namespace orvix::reports
