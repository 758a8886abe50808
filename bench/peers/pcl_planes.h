// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "bench/peers/plane_peers.h"

namespace orvix::bench {

/// PCL's region growing as planes ask for it: normals of 12 neighbours on every core, a region's
/// normals held against its seed's, a point a seed of more while it lies within the distance and
/// its surroundings are flat. Without the latter regions flow along stairs from storey to storey.
PeerResult PclRegionGrowing(const std::vector<SimplePointT<double>>& points,
                            const PeerSettings& settings);

/// PCL's SACSegmentation for planes, iterated, on every core; Euclidean clusters. Samples of three
/// points within a metre: in a building, of points from anywhere hardly any three are of one plane.
PeerResult PclIteratedRansac(const std::vector<SimplePointT<double>>& points,
                             const PeerSettings& settings);

}  // namespace orvix::bench
