// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>

#include "detection/cells/moments.h"

namespace orvix::detection {

/// The limits within which cells lie on one plane and make a region.
struct GrowthLimits {
    double distance = 0;   ///< metres: of a point from the plane; unless `fixed`, the least
    bool fixed = false;    ///< whether a region's own scatter changes nothing about the distance
    double waviness = 0;   ///< of the width of a region: how far its cells may lie from its plane
    double maxWave = 0;    ///< metres: the largest such distance
    bool small = true;     ///< whether what no cell explains grows from points
    bool faces = true;     ///< whether planes are cut where a strip across them is empty
    double minCosine = 0;  ///< of the angle between a cell's normal and the plane's
    double noise = 0;      ///< metres: standard deviation of points on a plane
    double minArea = 0;    ///< square metres that a region covers at least, by its cells
    double minPoints = 0;  ///< points that a region has at least
};

/// A plane through a point.
struct PlaneAt {
    Vector normal{0, 0, 1};  ///< of unit length
    Vector centre;           ///< mean of its points, project frame

    [[nodiscard]] double Distance(const Vector& p) const { return Dot(normal, p - centre); }
};

/// Cells that lie on one plane.
struct Region {
    PlaneAt plane;
    MomentSum sum;  ///< of its cells' points, about `origin`
    Vector origin;
    double rms = 0;
    double scatter = 0;       ///< sum of the squared distances of points from their cells' planes
    double scattered = 0;     ///< how many points these are
    double extent = 0;        ///< square metres of a rectangle that spreads as its points do
    bool small = false;       ///< whether it grew from points, and cells say nothing about its size
    bool rough = false;       ///< whether it scatters more than the cloud's noise explains
    std::uint64_t cells = 0;  ///< how many
};

/// Fits the region's plane to the sum of its points.
void Refit(Region& region);

/// Times the scatter of a region's points about their cells' own planes: how far they may lie from it.
inline constexpr double kScatters = 3;
/// That distance.
double TightDistance(const Region& region, const GrowthLimits& limits);

/// How far a surface of so many square metres may stray from its plane.
double MaxWave(double extent, const GrowthLimits& limits);
/// How far a region's cells stray from its plane: their rms without their points' scatter.
double WaveOf(const Region& region);
/// How far a point may lie from a region's plane and belong to it: a surface that takes in more than
/// scatter, such as a floor that sags, reaches further.
double ReachOf(const Region& region, const GrowthLimits& limits);

/// The fewest cells of a region of any kind.
inline constexpr std::size_t kMinCells = 3;
/// The fewest cells of one that is kept: more where points decide what is smaller, most of a rough one.
std::size_t LeastCells(const Region& region, const GrowthLimits& limits);
/// Whether a region is large enough to be kept.
bool IsLargeEnough(const Region& region, const GrowthLimits& limits, double cellSize);

}  // namespace orvix::detection
