// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/growth/region.h"

#include <algorithm>
#include <cmath>

namespace orvix::detection {
namespace {

constexpr std::size_t kMinCellsBeside = 10;  // where points decide what is smaller
constexpr std::size_t kMinRoughCells = 100;
constexpr double kMaxScatter = 2;  // times the noise: few surfaces are rougher, but thin things are
constexpr double kMaxRough = 12;   // the same of one that is
constexpr double kReach = 3;       // times the rms of a region that takes in more than scatter

// How far points scatter at most. BEHAVIOUR A24
double MaxScatter(const Region& region, const GrowthLimits& limits) {
    return (region.rough ? kMaxRough : kMaxScatter) * limits.noise;
}

}  // namespace

void Refit(Region& region) {
    const detail::PrincipalSpread spread = SpreadOf(region.sum.Covariance());
    region.plane.normal = spread.normal;
    region.plane.centre = region.origin + region.sum.Mean();
    region.rms = std::sqrt(spread.min);
    region.extent = 12 * std::sqrt(spread.middle * spread.max);
}

double TightDistance(const Region& region, const GrowthLimits& limits) {
    if (limits.fixed || region.scattered <= 0) return limits.distance;
    const double scatter = std::sqrt(region.scatter / region.scattered);
    return std::max(limits.distance, kScatters * std::min(scatter, MaxScatter(region, limits)));
}

double MaxWave(double extent, const GrowthLimits& limits) {
    return limits.fixed ? 0 : std::min(limits.waviness * std::sqrt(extent), limits.maxWave);
}

double WaveOf(const Region& region) {
    if (region.scattered <= 0) return 0;
    return std::sqrt(std::max(region.rms * region.rms - region.scatter / region.scattered, 0.0));
}

// BEHAVIOUR A2
double ReachOf(const Region& region, const GrowthLimits& limits) {
    const double tight = TightDistance(region, limits);
    if (limits.fixed) return std::max(tight, kReach * region.rms);
    return std::max(tight, std::min(kReach * region.rms, tight + MaxWave(region.extent, limits)));
}

std::size_t LeastCells(const Region& region, const GrowthLimits& limits) {
    if (region.rough) return kMinRoughCells;
    return limits.small ? kMinCellsBeside : kMinCells;
}

bool IsLargeEnough(const Region& region, const GrowthLimits& limits, double cellSize) {
    if (region.small)
        return region.sum.count >= limits.minPoints && region.extent >= limits.minArea;
    if (region.cells < LeastCells(region, limits) || region.sum.count < limits.minPoints)
        return false;
    const Vector& n = region.plane.normal;
    // A plane passes through that many cells for each square of a cell's side.
    const double cellsPerFace = std::abs(n.x) + std::abs(n.y) + std::abs(n.z);
    const double area = static_cast<double>(region.cells) * cellSize * cellSize / cellsPerFace;
    return area >= limits.minArea;
}

}  // namespace orvix::detection
