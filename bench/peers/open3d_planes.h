// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "bench/peers/plane_peers.h"

namespace orvix::bench {

/// Open3D's SegmentPlane, iterated, on every core; clusters by DBSCAN.
///
/// The planar patches of later versions (DetectPlanarPatches) are not in Debian 12's 0.16.1.
PeerResult Open3dIteratedRansac(const std::vector<SimplePointT<double>>& points,
                                const PeerSettings& settings);

}  // namespace orvix::bench
