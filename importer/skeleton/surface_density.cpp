// SPDX-License-Identifier: GPL-3.0-or-later
#include "importer/skeleton/surface_density.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>

namespace orvix::importer {
namespace {

constexpr int kKeptBits = 12;
constexpr double kPointsPerDisc = 20;
constexpr double kMinStep = 0.025;
constexpr double kMaxStep = 2.5;
constexpr double kDefaultStep = 0.1;
constexpr double kStepsPerMetre = 200;  // half centimetres

}  // namespace

std::uint32_t SurfaceDensity::Rounded(std::uint32_t points) {
    const int spare = std::max(0, static_cast<int>(std::bit_width(points)) - kKeptBits);
    return points >> spare << spare;
}

double SurfaceDensity::Median() const {
    std::uint64_t total = 0;
    for (const auto& [points, sum] : cells_) total += sum;
    std::uint64_t below = 0;
    for (const auto& [points, sum] : cells_) {
        below += sum;
        if (below >= total - below) return points;
    }
    return 0;
}

// BEHAVIOUR I12
double BaseStep(double pointsPerSquareMetre) {
    if (!(pointsPerSquareMetre > 0)) return kDefaultStep;
    const double step = std::sqrt(kPointsPerDisc / (4 * std::numbers::pi * pointsPerSquareMetre));
    return std::round(std::clamp(step, kMinStep, kMaxStep) * kStepsPerMetre) / kStepsPerMetre;
}

}  // namespace orvix::importer
