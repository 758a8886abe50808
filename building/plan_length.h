// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>

namespace orvix::building {

/// The length of (x, y): the same bits on every system, which std::hypot does not promise.
inline double PlanLength(double x, double y) {
    return std::sqrt(x * x + y * y);
}

}  // namespace orvix::building
