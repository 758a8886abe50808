// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "bench/peers/plane_peers.h"

namespace orvix::bench {

/// CGAL's region growing on point sets: 12 neighbours, normals by principal components, seeds
/// sorted by how well a plane fits their neighbours.
PeerResult CgalRegionGrowing(const std::vector<SimplePointT<double>>& points,
                             const PeerSettings& settings);

/// CGAL's Efficient RANSAC for planes, with the same normals.
PeerResult CgalEfficientRansac(const std::vector<SimplePointT<double>>& points,
                               const PeerSettings& settings);

}  // namespace orvix::bench
