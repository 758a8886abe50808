// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "detection/found_plane.h"
#include "orvix/platform/error.h"
#include "orvix/platform/export.h"
#include "orvix/points/records.h"

namespace orvix {
class CAlivePointReader;
class CProjectCore;
}  // namespace orvix

namespace orvix::detection {

class SearchStages;

/// How much of what stands out from a surface is a plane of its own.
///
/// Fine    what 25 points show: a quarter of the least area, half of the waviness.
/// Normal  what a person would draw.
/// Coarse  walls, floors and roofs alone: ten times the least area, twice the waviness, and nothing
///         smaller than the cells.
enum class Detail { Fine, Normal, Coarse };

/// What to look for. A 0 (of `bridge`: a negative value) leaves the choice to the search, which
/// takes it from the cloud where no other value is given here.
struct PlaneSearchOptions {
    double cellSize = 0;   ///< metres; raised to the next of 0.1, 0.2, 0.25, 0.5, 1, 2, 5, 10
    double distance = 0;   ///< metres: largest distance of a point from its plane
    double angle = 0;      ///< degrees: largest turn of a cell's normal; 0: 20
    double minArea = 0;    ///< square metres of outline that a plane has at least
    double minPoints = 0;  ///< points that a plane has at least; 0: 50, in thin scans 30
    double bridge = -1;    ///< metres: pieces of one plane join across gaps of about this width
    Detail detail = Detail::Normal;
    std::uint64_t memoryLimitBytes = std::uint64_t{1} << 30;
    unsigned threads = 0;  ///< 0: every core; 1: the calling thread alone
    /// Scanner positions, project frame: those that ProjectManager::GetScanPosition knows.
    std::vector<SimplePointT<double>> stations;
    std::function<bool()> proceed;  ///< called often, on the calling thread; false cancels
    /// Called before `proceed` with the part of the work that is done, about: 0 to 1, never less
    /// than before.
    std::function<void(double)> progress;
};

/// The settings that a search used, and what it measured of the cloud to choose them.
struct PlaneSearchSettings {
    double cellSize = 0;
    double spacing = 0;   ///< metres between points on the cloud's surfaces, typically
    double noise = 0;     ///< metres: standard deviation of points about the planes of their cells
    double distance = 0;  ///< metres; more for a plane that scatters or waves, unless asked for
    double angle = 0;
    double minArea = 0;
    double minPoints = 0;
    double bridge = 0;
};

/// Points that follow each other in the point file, and the plane of each.
struct PlanePoints {
    std::uint64_t firstRecord = 0;  ///< of the first point
    std::span<const CCloudPoint<float>> points;
    std::span<const std::int32_t> planes;  ///< as many: a place in Planes(), or -1
};

/// Why a place is in a plane or in none.
struct PlaceReport {
    bool occupied = false;            ///< there are points in its cell
    std::uint64_t points = 0;         ///< of its cell
    SimplePointT<double> cellNormal;  ///< zeros where the surroundings are not flat
    double cellRms = 0;               ///< metres, of the points that decide the normal
    std::int32_t plane = -1;          ///< the plane of a point at that place
    std::int32_t nearest = -1;        ///< that plane, or else the nearest of those around
    double nearestDistance = 0;       ///< metres, signed, from `nearest`
    double nearestTurn = 0;           ///< the cosine between the cell's normal and the plane's
};

/// Finds all planes of a project, and the plane of each of its points.
///
/// Use this for a whole project. To fit one plane around a point that somebody picked, use
/// GrowPlaneFromSeed (orvix/planes/seed): it needs no pass over all points.
///
///     auto search = PlaneSearch::Run(core, {});        // a CProjectCore whose files are open
///     if (!search) return Report(search.error());
///     for (const FoundPlane& plane : (*search)->Planes()) Use(plane.area, plane.outline);
///
/// The project is worked through in tiles of up to a hundred cells along an axis. The first pass
/// over the points stores, for each occupied cell, how many points it holds, their mean and how
/// they spread. Regions grow over neighbouring cells, from the flattest on, as long as the cells'
/// points lie on the region's plane, as far as this scatters and waves; where points lie close, what
/// no region explains is read again, and small regions grow from it. Pieces of one plane are joined
/// from tile to tile and across gaps, unless a wall stands between. The second pass gives each point
/// to the nearest of the planes that pass its cell or one beside it, within the plane's tolerance, and
/// fits each plane to its points.
///
/// Units      metres, project frame.
/// Shape      the normal points to the scanners where stations are known. Without stations it
///            points up, of a ceiling down, and of a wall away from the middle of the cloud.
///              A plane within 10 degrees of upright is a wall.
///              One within 10 degrees of level is a ceiling where scanners see it from below. Else
///            it is a floor, unless more stands below its rims than above. Then, without stations,
///            it is a ceiling where it covers most of what lies below, or another (a table) where
///            it covers that from less than 1.5 m. What is left is a roof; where stations are
///            known, only under open sky. Without stations, a cloud whose points are more than
///            0.15 m apart was scanned from the air and has no ceilings.
///              Of the planes that are neither, those under open sky are roofs.
/// Order      planes by their points, most first, equal ones as their regions began, tile by tile.
///            The same project and options give the same bits, at any number of threads and on
///            every system; the memory limit matters only where it makes cells larger.
/// Boundaries a plane that takes in more than noise, such as a floor that sags, reaches further
///            than the distance: FoundPlane::tolerance says how far.
/// Errors     Damaged for a project whose points and cells contradict each other; BadInput where
///            even the largest cells take more memory than allowed; Failure where the points
///            cannot be mapped; NoMemory; Cancelled. Nothing is thrown but what the caller's
///            functions throw, and std::bad_alloc where memory for a list ends on the calling
///            thread.
/// Lifetime   `core` must stay open while the search is used.
/// Threads    Run works on the calling thread and starts `threads` - 1 more, which have ended when
///            it returns; no other call starts any. It keeps the core to itself; const calls may
///            run side by side afterwards.
/// Cost       two passes over the points, a third over those beside small faces, and about a
///            microsecond per cell, on all threads. Memory: 25 bytes per cell, 400 more per cell of
///            the tiles at work, up to 60 MB for the loose points of each of them, and one bit per
///            pixel of each plane.
class ORVIX_API PlaneSearch {
public:
    static Expected<std::unique_ptr<PlaneSearch>> Run(CProjectCore& core,
                                                      const PlaneSearchOptions& options);
    /// Ends a search whose passes over the points were made elsewhere, in parts (PlaneTasks of
    /// detection/tasks): the result is that of Run with the options of `stages`, bit by bit. Of `how`
    /// only threads, stations and functions count.
    ///
    /// Errors     those of `stages`, and of Run.
    static Expected<std::unique_ptr<PlaneSearch>> Finish(CProjectCore& core,
                                                         const SearchStages& stages,
                                                         const PlaneSearchOptions& how);
    ~PlaneSearch();
    PlaneSearch(const PlaneSearch&) = delete;
    PlaneSearch& operator=(const PlaneSearch&) = delete;

    [[nodiscard]] const PlaneSearchSettings& Settings() const;
    [[nodiscard]] const std::vector<FoundPlane>& Planes() const;
    [[nodiscard]] std::uint64_t Points() const;
    [[nodiscard]] std::uint64_t AssignedPoints() const;
    [[nodiscard]] std::uint64_t Cells() const;
    /// How many planes were found and left out, since they have fewer points or less area than the
    /// settings ask for.
    [[nodiscard]] std::uint64_t LeftOut() const;

    /// How many chunks the points come in; each may be read on a thread of its own.
    [[nodiscard]] std::size_t Chunks() const;
    /// The record of a chunk's first point; its last one is before the next chunk's first. Of
    /// Chunks(): the number of points.
    [[nodiscard]] std::uint64_t FirstRecord(std::size_t chunk) const;
    /// Hands over the points of a chunk in the order of the file, some thousands at a time. They
    /// are copies, which last until `use` returns; `use` may iterate runs with the same reader. The
    /// reader may be another core's that has the same project open.
    ///
    ///     for (std::size_t chunk = 0; chunk < search.Chunks(); ++chunk)
    ///         if (auto done = search.ReadChunk(*reader, chunk, Use); !done) return done;
    ///
    /// Errors  Failure where the points cannot be mapped.
    [[nodiscard]] Expected<void> ReadChunk(
        CAlivePointReader& reader, std::size_t chunk,
        const std::function<void(const PlanePoints&)>& use) const;
    /// The plane of a point at a place, by the same rule: a place in Planes(), or -1.
    [[nodiscard]] std::int32_t PlaneOf(const SimplePointT<double>& place) const;
    /// Reads the place's tile again, on the calling thread. Errors as of Run.
    [[nodiscard]] Expected<PlaceReport> Explain(const SimplePointT<double>& place) const;

private:
    struct State;

    explicit PlaneSearch(std::unique_ptr<State> state);

    std::unique_ptr<State> state_;
};

}  // namespace orvix::detection
