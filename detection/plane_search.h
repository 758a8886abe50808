// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "detection/cells/moments.h"
#include "detection/outlines/plane_raster.h"
#include "detection/regions/point_assignment.h"
#include "detection/regions/region_extents.h"
#include "orvix/geometry/plane_frame.h"
#include "orvix/geometry/plane_outline.h"
#include "orvix/platform/error.h"
#include "orvix/project/project_core.h"

namespace orvix::detection {

/// What to look for. Every 0 (of `bridge`: a negative one) stands for "as the cloud suggests".
struct PlaneSearchOptions {
    double cellSize = 0;   ///< metres: raised to the next of CellFrame::kSizes
    double distance = 0;   ///< metres: a point's largest distance from its plane
    double angle = 0;      ///< degrees: largest turn of a cell's normal; 0: 20
    double minArea = 0;    ///< square metres of outline that a plane has at least
    double minPoints = 0;  ///< points that a plane has at least; 0: 30
    double bridge = -1;    ///< metres: pieces of one plane join across gaps of about this width
    std::uint64_t memoryLimitBytes = std::uint64_t{1} << 30;
    unsigned threads = 0;           ///< 0: every core
    std::vector<Vector> stations;   ///< scanner positions, project frame
    std::function<bool()> proceed;  ///< asked often, on the calling thread; false cancels
};

/// What was measured of a cloud, and what was used.
struct PlaneSearchSettings {
    double cellSize = 0;
    double spacing = 0;  ///< metres between points on the cloud's surfaces, typically
    double noise = 0;    ///< metres: standard deviation of points about the planes of their cells
    double distance = 0;
    double angle = 0;
    double minArea = 0;
    double minPoints = 0;
    double bridge = 0;
};

enum class PlaneKind { Floor, Ceiling, Wall, Roof, Other };

/// One plane, in the project's own frame.
struct FoundPlane {
    Vector normal;      ///< of unit length, to the side that PlaneSearch says
    double offset = 0;  ///< normal . p + offset = 0
    Vector centre;      ///< mean of its points
    std::uint64_t points = 0;
    double rms = 0;        ///< metres: of its points from it
    double tolerance = 0;  ///< metres: largest distance of a point from the plane of its cells
    double area = 0;       ///< square metres inside its outline
    PlaneKind kind = PlaneKind::Other;
    PlaneFrame frame;
    PlaneOutline outline;  ///< in `frame`; vertices are the outline's own (raster_outline.h)
};

/// Why a place is in a plane or in none.
struct PlaceReport {
    bool occupied = false;       ///< there are points in its cell
    std::uint64_t points = 0;    ///< of its cell
    Vector cellNormal;           ///< of zeros: the surroundings are not flat
    double cellRms = 0;          ///< metres, of the points that tell the normal
    std::int32_t plane = -1;     ///< the plane of a point at that place
    std::int32_t nearest = -1;   ///< that plane, or else the nearest of those around
    double nearestDistance = 0;  ///< metres, signed, from `nearest`
    double nearestTurn = 0;      ///< the cosine between the cell's normal and the plane's
};

/// All planes of a project.
///
/// The project is worked through in tiles of a hundred cells along an axis at most. One pass over
/// the points keeps, of each occupied cell, how many points it holds, where their mean is and how
/// they spread. Regions grow over neighbouring cells, from the flattest on, as long as the cells'
/// points lie on the plane that the region has made so far; pieces of one plane are joined from
/// tile to tile and across gaps. A second pass gives each point to the nearest plane that passes
/// its cell or one beside it, within the distance, and fits each plane to its points.
///
///     auto search = PlaneSearch::Run(core, {});
///     if (!search) return Report(search.error());
///     for (const FoundPlane& plane : (*search)->Planes()) Use(plane.area, plane.outline);
///
/// Units      metres, project frame.
/// Shape      a normal points to the scanners, where stations are known; else up, of a ceiling
///            down, and of a wall away from the middle of the cloud. A plane within 10 degrees of
///            upright is a wall. One within 10 degrees of level is a ceiling where scanners see it
///            from below. Else it is a floor, unless more stands below its rims than above: then,
///            without stations, it is a ceiling where it covers most of what lies below, or another
///            (a table) where it covers it from less than 1.5 m; what is left is a roof, for a
///            known scanner only under open sky. Without stations, points more than 0.15 m apart
///            are from the air and know no ceilings. Of the others those with open sky above are
///            roofs.
/// Boundaries a plane that takes in more than noise, such as a floor that sags, reaches further
///            than the distance: to 3 times the rms of its cells' points.
/// Order      planes by their points, most first, equal ones as their regions began, tile by tile.
/// The same project
///            and options give the same bits, at any number of threads and on every system; the
///            memory limit matters only where it makes cells larger.
/// Errors     Damaged for a project whose points and cells contradict each other; BadInput where
///            even the largest cells take more memory than allowed; Cancelled.
/// Lifetime   `core` must stay open while the search is used.
/// Threads    Run keeps the core to itself; const calls may run side by side afterwards.
/// Cost       two passes over the points and about a microsecond a cell, on all threads; memory 20
///            bytes a cell, 260 more for the cells of the tiles at work, and a bit for each pixel
///            of each plane, whatever the number of points.
class PlaneSearch {
public:
    static Expected<std::unique_ptr<PlaneSearch>> Run(CProjectCore& core,
                                                      const PlaneSearchOptions& options);

    [[nodiscard]] const PlaneSearchSettings& Settings() const { return settings_; }
    [[nodiscard]] const std::vector<FoundPlane>& Planes() const { return planes_; }
    [[nodiscard]] std::uint64_t Points() const { return cut_.points; }
    [[nodiscard]] std::uint64_t AssignedPoints() const { return assigned_; }
    [[nodiscard]] std::uint64_t Cells() const { return grown_.map.Cells(); }

    /// How many chunks the points come in; each may be read on a thread of its own.
    [[nodiscard]] std::size_t Chunks() const { return cut_.chunks.size(); }
    /// Calls use(point, record, plane) for each point of a chunk in the order of the file; `plane`
    /// is a place in Planes(), or -1. False where the points cannot be mapped.
    template <class Use>
    [[nodiscard]] bool ForEachPoint(CAlivePointReader& reader, std::size_t chunk, Use&& use) const {
        return Assignment().ForEach(
            reader, chunk,
            [&](const CCloudPoint<float>& p, std::uint64_t record, std::int32_t region) {
                use(p, record, PlaneOfRegion(region));
            });
    }
    /// The plane of a point at a place, by the same rule: a place in Planes(), or -1.
    [[nodiscard]] std::int32_t PlaneOf(const Vector& place) const {
        return PlaneOfRegion(Assignment().At(place));
    }
    /// Reads the place's tile again, on the calling thread. Errors as of Run.
    [[nodiscard]] Expected<PlaceReport> Explain(const Vector& place) const;

private:
    class Tally;
    using Sums = std::vector<std::pair<std::int32_t, MomentSum>>;  // by region

    explicit PlaneSearch(CProjectCore& core) : core_(core) {}
    Expected<void> Grow(const parallel::Pool& pool, const PlaneSearchOptions& options);
    Expected<void> GrowIn(const CellFrame& frame, const parallel::Pool& pool,
                          const PlaneSearchOptions& options);
    Expected<void> Derive(const parallel::Pool& pool, const PlaneSearchOptions& options);
    Expected<void> Fit(const parallel::Pool& pool, const PlaneSearchOptions& options);
    Expected<std::vector<MomentSum>> Assign(const parallel::Pool& pool,
                                            std::vector<PlaneRaster>& rasters) const;
    void Finish(const MomentSum& sum, PlaneRaster& raster, FoundPlane& plane) const;
    void Rank();
    [[nodiscard]] GrowthLimits Limits() const;
    [[nodiscard]] PlaneRaster RasterOf(RegionExtent& extent) const;
    [[nodiscard]] PointAssignment Assignment() const {
        return {cut_, grown_, choices_, regionPlanes_};
    }
    [[nodiscard]] std::int32_t PlaneOfRegion(std::int32_t region) const {
        return region < 0 ? -1 : planeOf_[static_cast<std::size_t>(region)];
    }

    CProjectCore& core_;
    PlaneSearchSettings settings_;
    PointChunks cut_;
    GrownTiles grown_;
    PlaneChoices choices_;
    std::vector<PlaneHeight> regionPlanes_;  // what points are held against
    std::vector<std::int32_t> planeOf_;      // of each region; -1: too small
    std::vector<FoundPlane> planes_;
    std::uint64_t assigned_ = 0;
};

}  // namespace orvix::detection
