// SPDX-License-Identifier: GPL-3.0-or-later
#include "output/colour.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace orvix::output {

Colour PlaneColour(std::uint32_t number) {
    const std::uint32_t plane = number - 1;
    // Steps of the golden angle around the circle of hues, each turn lighter or darker.
    const double hue = std::fmod(plane * 0.61803398875, 1.0) * 6;
    const std::array<double, 3> lights{0.85, 0.68, 0.98};
    const std::array<double, 3> tints{0.72, 0.85, 0.5};
    const double light = lights[plane % 3];
    const double tint = tints[plane / 2 % 3];
    const auto channel = [&](double shift) {
        const double at = std::fmod(hue + shift, 6.0);
        const double full = std::clamp(std::fabs(at - 3) - 1, 0.0, 1.0);
        return static_cast<std::uint8_t>(std::lround(255 * light * (1 - tint * (1 - full))));
    };
    return {channel(0), channel(4), channel(2)};
}

}  // namespace orvix::output
