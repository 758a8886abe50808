// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "orvix/points/records.h"

namespace orvix::bench {

struct PeerSettings {
    double distance = 0;      ///< metres
    double angleDegrees = 0;  ///< of a point's normal to its plane
    std::size_t leastPoints = 0;
    double clusterDistance = 0;  ///< metres between points of one plane, where it is asked for
};

/// What a rival made of the same points: each point's plane, -1 for none, and its seconds.
struct PeerResult {
    std::vector<std::int32_t> labels;
    double normalSeconds = 0;
    double seconds = 0;  ///< of the detection alone
};

/// CGAL's region growing on point sets: 12 neighbours, normals by principal components, seeds
/// sorted by how well a plane fits their neighbours.
PeerResult CgalRegionGrowing(const std::vector<SimplePointT<double>>& points,
                             const PeerSettings& settings);

/// CGAL's Efficient RANSAC for planes, with the same normals.
PeerResult CgalEfficientRansac(const std::vector<SimplePointT<double>>& points,
                               const PeerSettings& settings);

}  // namespace orvix::bench
