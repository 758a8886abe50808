// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>

namespace orvix::detail {

/// How far from a plane a point may lie and still count as one of it.
///
///     constexpr DistanceLimit kLimit{.deviations = 3};
///     const bool belongs = std::abs(Distance(plane, p)) <= kLimit.Of(noise);
///
/// Units      metres. `noise` is the standard deviation of points about their plane.
/// Boundaries a surface without noise still has a limit: one of stored coordinates, `min`, below
///            which differences come from the scanner's own steps.
struct DistanceLimit {
    double deviations = 3;  ///< times the noise
    double min = 0.01;      ///< metres

    [[nodiscard]] constexpr double Of(double noise) const {
        return std::max(deviations * noise, min);
    }
};

}  // namespace orvix::detail
