// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "orvix/geometry/distance_limit.h"
#include "orvix/planes/fitted_plane.h"
#include "orvix/planes/seed/cloud_source.h"

namespace orvix::detail {

/// The plane of the points around a seed, and the noise and density of the cloud there.
struct SeedFit {
    FittedPlane plane;             ///< holds no points
    SimplePointT<double> seed;     ///< the cloud's point nearest to the one asked for
    double snapped = 0;            ///< its distance from that, metres
    double noise = 0;              ///< standard deviation of the inliers, see NoiseOf
    double density = 0;            ///< inliers per square metre
    double radius = 0;             ///< of the neighbourhood
    std::uint64_t neighbours = 0;  ///< points looked at
};

/// How far from the plane of a seed a point may lie, here and while the plane grows.
inline constexpr DistanceLimit kSeedDistance{.deviations = 3, .min = 0.01};

/// Fits a plane at a seed, tolerating noise, clutter and edges nearby.
///
/// The nearest point within `snapDistance` stands for the seed. Its neighbourhood is a ball of
/// 0.5 m, widened by half until it holds 200 points or has a radius of 8 m. Planes through
/// balls from the twelve nearest points up to the whole neighbourhood are candidates; each is
/// refitted to its inliers in growing balls, and the one that explains the neighbourhood best,
/// points near the seed weighing more, wins; of equals, the one from the smaller ball. So a seed
/// near an edge gets the surface that it lies on, and a noisy scan a wide enough base.
///
/// Units   metres.
/// Errors  BadInput when no point lies within `snapDistance` (the message says how far the
///         nearest is) or the points around the seed do not span a plane; Damaged from the source.
/// Cost    reads the cells within the neighbourhood's radius a few times; beyond 20,000 points it
///         uses every k-th.
Expected<SeedFit> FitAtSeed(CloudSource& cloud, const SimplePointT<double>& seed,
                            double snapDistance);

/// The standard deviation of the distances from a plane, estimated from their median, so that a
/// step or an edge among the points hardly counts; at least 0.6 of their root mean square, because
/// on coordinates rounded to a coarse step more than half of the distances may be zero.
double NoiseOf(const FittedPlane& plane, const std::vector<SimplePointT<double>>& points);

}  // namespace orvix::detail
