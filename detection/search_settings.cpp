// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/search_settings.h"

#include <algorithm>
#include <numbers>

#include "orvix/geometry/distance_limit.h"
#include "orvix/geometry/sine_cosine.h"

namespace orvix::detection {
namespace {

constexpr detail::DistanceLimit kPointDistance{.deviations = 4, .min = 0.005};  // from its plane
constexpr double kMaxOfScanner = 0.008;  // metres: noise above that is relief as well, of which
constexpr double kReliefs = 2.5;         // times as much lies around a plane

constexpr double kWaviness = 0.005;    // of a surface's width: how far it may stray from its plane
constexpr double kMaxWave = 0.03;      // metres, at most
constexpr double kMaxSpacing = 0.65;   // of a cell's size: where points lie closer, they decide
constexpr double kBridgeCells = 2;     // and
constexpr double kBridgeSpacings = 1;  // points' distances: the width of a gap that is bridged
constexpr double kRoom = 50;           // metres: what is no wider is a room or a house
constexpr double kMinAreaInRoom = 0.015;  // square metres: planes of 0.02 and more pass surely
constexpr double kMaxMinArea = 0.25;
constexpr double kMinPoints = 50;         // of fewer, in a dense scan, one in four is a plane
constexpr double kMinPointsOfCells = 30;  // where cells alone grow

/// What a detail makes of the values for the normal one.
struct DetailFactors {
    double minArea = 1;
    double minPoints = 1;
    double waviness = 1;
    bool small = true;
};

DetailFactors FactorsOf(Detail detail) {
    if (detail == Detail::Fine) return {0.25, 0.5, 0.5, true};
    if (detail == Detail::Coarse) return {10, 3, 2, false};
    return {};
}

// BEHAVIOUR A2
double DistanceFor(double noise) {
    const double ofScanner = std::min(noise, kMaxOfScanner);
    return kPointDistance.Of(ofScanner) + kReliefs * (noise - ofScanner);
}

// A room's planes are small, a street's large: the least area grows as the ground that is scanned.
// BEHAVIOUR A16
double MinAreaFor(double extent) {
    const double rooms = std::max(extent / kRoom, 1.0);
    return std::min(kMinAreaInRoom * rooms * rooms, kMaxMinArea);
}

// BEHAVIOUR A15
bool PointsDecide(const PlaneSearchSettings& settings) {
    return settings.spacing <= kMaxSpacing * settings.cellSize;
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
    settings.distance = orElse(options.distance, DistanceFor(settings.noise));
    settings.angle = orElse(options.angle, 20);
    const DetailFactors factors = FactorsOf(options.detail);
    settings.minArea = orElse(options.minArea, factors.minArea * MinAreaFor(cloud.extent));
    const double minPoints = PointsDecide(settings) ? kMinPoints : kMinPointsOfCells;
    settings.minPoints = orElse(options.minPoints, factors.minPoints * minPoints);
    settings.bridge = options.bridge >= 0
                          ? options.bridge
                          : kBridgeCells * cellSize + kBridgeSpacings * cloud.spacing;
    return settings;
}

GrowthLimits LimitsFor(const PlaneSearchOptions& options, const PlaneSearchSettings& settings) {
    const DetailFactors factors = FactorsOf(options.detail);
    GrowthLimits limits;
    limits.distance = settings.distance;
    limits.fixed = options.distance > 0;
    limits.waviness = factors.waviness * kWaviness;
    limits.maxWave = factors.waviness * kMaxWave;
    limits.small = factors.small && PointsDecide(settings);
    limits.faces = limits.small && options.bridge <= 0;  // a gap that is asked for is crossed
    const double radians = std::min(settings.angle, 90.0) * std::numbers::pi / 180;
    limits.minCosine = detail::SineCosineOf(radians).cosine;
    limits.noise = settings.noise;
    limits.minArea = settings.minArea / 2;
    limits.minPoints = settings.minPoints;
    return limits;
}

}  // namespace orvix::detection
