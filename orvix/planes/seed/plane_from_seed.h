// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <limits>
#include <vector>

#include "orvix/planes/fitted_plane.h"
#include "orvix/planes/plane_worm.h"
#include "orvix/planes/plane_worm_settings.h"
#include "orvix/planes/seed/cloud_source.h"
#include "orvix/platform/error.h"
#include "orvix/project/transform_file.h"

namespace orvix::detail {

/// Cells of the plane search have a meaning up to this side, in metres; growth would not end with
/// cells that swallow every cloud.
inline constexpr double kMaxSplitSize = 1000;

/// How a plane is grown from a seed. Every 0 (or negative) stands for "as described".
struct SeedPlaneOptions {
    double splitSize = 0;  ///< metres; 0: the settings' alive set, enlarged where points are sparse
    double diffA = -1;     ///< tolerance on the normal's a; negative: the settings' alive set
    double diffB = -1;     ///< the same for b
    double diffC = -1;     ///< the same for c
    /// Metres, a point's largest distance from the plane. 0: three times the noise at the seed, at
    /// least 0.01 and at most a quarter split; then, where the surface bends, as the spread of its
    /// points asks, up to twice that and 0.02 more.
    double maxDistance = 0;
    double snapDistance = 1.0;  ///< metres, from the seed to the nearest point
    /// Metres from the seed; infinite: until points end.
    double reach = std::numeric_limits<double>::infinity();
    std::uint64_t memoryLimitBytes = std::uint64_t{1} << 30;  ///< for the points in memory, about
    std::size_t outlinePoints = 1'000'000;  ///< the outline is built from at most this many points
    std::function<bool()> proceed;          ///< asked often; false cancels
};

/// A grown plane, in the project's own frame.
struct SeedPlane {
    FittedPlane plane;                   ///< with its points and its outline
    std::vector<std::uint64_t> records;  ///< of plane.data(), in the same order: alive records
    SimplePointT<double> seed;           ///< the cloud's point that growth started from
    double snapped = 0;                  ///< metres between it and the seed asked for
    double noise = 0;                    ///< standard deviation of the points at the seed
    double splitSize = 0;                ///< the one used
    bool splitEnlarged = false;          ///< the settings' cells would have held too few points
    double maxDistanceAllowed = 0;       ///< the largest distance that a point may have
    double rms = 0;                      ///< of the plane's points
    double maxDistance = 0;              ///< the largest distance that a point has
    double area = 0;                     ///< of the outline, square metres
    std::uint64_t points = 0;            ///< the plane's points, each of the cloud's counted
    std::uint64_t cells = 0;
    std::uint64_t rejectedCells = 0;
    std::uint32_t thinning = 1;  ///< above 1: growth used every k-th point of each grid cell
    PlaneWorm::Ended ended = PlaneWorm::Ended::NotLaunched;
};

/// Grows the plane that a seed lies on: fits at the seed, lets a PlaneWorm grow over the points
/// near that plane, refits to the points found, and reaches further until the plane ends.
///
///     ProjectCloud cloud(core);                         // an open CProjectCore
///     PlaneWormSettings settings(L"scan.prj", 1.0);
///     auto grown = GrowPlaneFromSeed(cloud, settings, {1.5, 0.2, 1.1}, {});
///     if (!grown) return Report(grown.error());
///     const auto world = WorldEquation(grown->plane, transform);
///
/// A point belongs to the plane when it is no further from it than `maxDistanceAllowed` and its
/// place on the plane is in a kept cell or beside one. A cell is offered to the worm only when at
/// least a quarter of the points within half a split size of the plane, in it and beside it, are
/// that close: foliage and clutter that the plane merely cuts through do not carry it on. Of a
/// dense cell the worm gets every k-th point, a hundred or so.
///
/// Units      metres; seed and result in the project's own frame.
/// Order      the same project, seed and options give the same plane, bit by bit.
/// Boundaries split size: without one in the options, a cell's circle holds 15 points at the
///            density of the seed, three times the settings' default minimum; otherwise it grows.
/// Errors     BadInput: no point near the seed, none that span a plane, or a split size (of the
///            options or the settings) above `kMaxSplitSize`; Cancelled; Damaged.
/// Threads    one thread; it keeps `cloud` to itself until it returns.
/// Cost       reads the cells that the plane passes through within its reach, which doubles from
///            5 m; memory for the points near the plane, 160 bytes each. Beyond
///            `memoryLimitBytes` growth uses every k-th point of each grid cell and a last pass
///            counts the plane's points; the result then holds the thinned points.
Expected<SeedPlane> GrowPlaneFromSeed(CloudSource& cloud, const PlaneWormSettings& settings,
                                      const SimplePointT<double>& seed,
                                      const SeedPlaneOptions& options);

/// a, b, c, d of a*x + b*y + c*z + d = 0 in world coordinates: a unit normal whose largest
/// component (the last of equal ones) is positive, so a floor's points up.
std::array<double, 4> WorldEquation(const FittedPlane& plane, const LocalToWorld& frame);

}  // namespace orvix::detail
