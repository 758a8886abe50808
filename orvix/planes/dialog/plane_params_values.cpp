// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/planes/dialog/plane_params_values.h"

#include <cmath>
#include <limits>
#include <numbers>

#include "orvix/platform/truncate.h"

namespace orvix::detail {
namespace {

constexpr double kAngleStep = 0.015;

double NextAbove(double value) {
    return std::nextafter(value, std::numeric_limits<double>::infinity());
}

}  // namespace

std::int32_t CentimetresOf(double splitSize) {
    return SaturateTo<std::int32_t>(splitSize * 100.0);
}

double SplitSizeOf(std::int32_t centimetres) {
    const double metres = centimetres / 100.0;
    return CentimetresOf(metres) < centimetres ? NextAbove(metres) : metres;  // BEHAVIOUR D3
}

std::int32_t AngleStepsOf(double diff) {
    return SaturateTo<std::int32_t>(diff / kAngleStep);
}

double DiffOf(std::int32_t steps) {
    const double diff = steps * kAngleStep;
    return AngleStepsOf(diff) < steps ? NextAbove(diff) : diff;
}

// BEHAVIOUR D5
double PassingAngle(double diff) {
    if (!(diff > 0)) return 0;
    return diff < 2 ? 2 * std::asin(diff / 2) * 180 / std::numbers::pi : 180;
}

int SpeedOf(std::int32_t minPlane) {
    if (minPlane == kExactMinPlane) return 0;
    return minPlane == kBalancedMinPlane ? 1 : 2;
}

// BEHAVIOUR D6
std::int32_t MinPlaneOf(int speed, std::int32_t third) {
    if (speed == 0) return kExactMinPlane;
    return speed == 1 ? kBalancedMinPlane : third;
}

}  // namespace orvix::detail
