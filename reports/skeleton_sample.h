// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "orvix/points/records.h"
#include "reports/world_project.h"

namespace orvix::reports {

/// Points of a skeleton, each with its station where these were asked for.
struct SkeletonSample {
    std::vector<SimplePointT<double>> points;
    std::vector<std::uint16_t> stations;
};

enum class SkeletonStations { Left, Read };

/// Reads every k-th point of a project's skeleton, two million at most: the cloud of a picture.
///
/// Units      metres along the world's axes, relative to `centre`, so that they stay small.
/// Boundaries empty where the skeleton's files cannot be mapped. With stations, points that the
///            file of their data no longer reaches are left out.
SkeletonSample SampleSkeleton(const WorldProject& project, const SimplePointT<double>& centre,
                              SkeletonStations stations);

}  // namespace orvix::reports
