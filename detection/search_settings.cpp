// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/search_settings.h"

#include <algorithm>
#include <numbers>

#include "orvix/geometry/distance_limit.h"
#include "orvix/geometry/sine_cosine.h"

namespace orvix::detection {
namespace {

constexpr detail::DistanceLimit kPointDistance{.deviations = 4.5, .min = 0.01};  // from its plane

}  // namespace

std::size_t CellStepFor(double cellSize) {
    const auto& sizes = CellFrame::kSizes;
    std::size_t step = 0;
    while (step + 1 < sizes.size() && sizes[step] < cellSize * (1 - 1e-9)) ++step;
    return step;
}

PlaneSearchSettings SettingsFor(const PlaneSearchOptions& options, double cellSize,
                                const CloudEstimate& cloud) {
    const auto orElse = [](double given, double derived) { return given > 0 ? given : derived; };
    PlaneSearchSettings settings;
    settings.cellSize = cellSize;
    settings.noise = cloud.noise;
    settings.spacing = cloud.spacing;
    settings.distance = orElse(options.distance, kPointDistance.Of(settings.noise));
    settings.angle = orElse(options.angle, 20);
    settings.minArea = orElse(options.minArea, std::max(0.25, 9 * cellSize * cellSize));
    settings.minPoints = orElse(options.minPoints, 30);
    settings.bridge = options.bridge >= 0 ? options.bridge : std::max(0.3, 2 * cellSize);
    return settings;
}

GrowthLimits LimitsFor(const PlaneSearchSettings& settings) {
    GrowthLimits limits;
    limits.distance = settings.distance;
    const double radians = std::min(settings.angle, 90.0) * std::numbers::pi / 180;
    limits.minCosine = detail::SineCosineOf(radians).cosine;
    limits.noise = settings.noise;
    limits.minArea = settings.minArea / 2;
    limits.minPoints = settings.minPoints;
    return limits;
}

}  // namespace orvix::detection
