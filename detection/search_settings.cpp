// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/search_settings.h"

#include <algorithm>

namespace orvix::detection {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kNoises = 4.5;  // in the distance of a point from its plane

// The cosine by its series: the maths library's differs in the last place from system to system.
double Cosine(double radians) {
    double term = 1, sum = 1;
    for (int i = 1; i < 12; ++i) {
        term *= -radians * radians / ((2 * i - 1) * (2 * i));
        sum += term;
    }
    return sum;
}

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
    settings.distance = orElse(options.distance, std::max(kNoises * settings.noise, 0.01));
    settings.angle = orElse(options.angle, 20);
    settings.minArea = orElse(options.minArea, std::max(0.25, 9 * cellSize * cellSize));
    settings.minPoints = orElse(options.minPoints, 30);
    settings.bridge = options.bridge >= 0 ? options.bridge : std::max(0.3, 2 * cellSize);
    return settings;
}

GrowthLimits LimitsFor(const PlaneSearchSettings& settings) {
    GrowthLimits limits;
    limits.distance = settings.distance;
    limits.minCosine = Cosine(std::min(settings.angle, 90.0) * kPi / 180);
    limits.noise = settings.noise;
    limits.minArea = settings.minArea / 2;
    limits.minPoints = settings.minPoints;
    return limits;
}

}  // namespace orvix::detection
