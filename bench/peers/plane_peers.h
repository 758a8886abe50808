// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "orvix/points/records.h"

namespace orvix::bench {

struct PeerSettings {
    double distance = 0;      ///< metres
    double angleDegrees = 0;  ///< of a point's normal to its plane
    std::size_t minPoints = 0;
    double clusterDistance = 0;  ///< metres between points of one plane, where it is asked for
};

/// What a rival made of the same points: each point's plane, -1 for none, and its seconds.
struct PeerResult {
    std::vector<std::int32_t> labels;
    double normalSeconds = 0;  ///< of estimating normals, where it needs them
    double seconds = 0;        ///< of the detection alone
};

/// A rival in finding planes.
///
///     for (const PlanePeer& peer : PlanePeers())
///         if (peer.run != nullptr) Compare(peer.who, peer.run(points, settings));
struct PlanePeer {
    std::string_view name;  ///< as --peers has it
    std::string_view who;
    std::string_view package;  ///< of Debian, that it comes from
    PeerResult (*run)(const std::vector<SimplePointT<double>>& points,
                      const PeerSettings& settings) = nullptr;  ///< null: not in this build
};

/// All of them, those that the build left out too.
std::span<const PlanePeer> PlanePeers();

}  // namespace orvix::bench
