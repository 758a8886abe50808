// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>

#include "building/sight/sight_image.h"

namespace orvix::building {

/// Rays through a place in open space, of the stations within `reach`. `margin` is how far beyond it a
/// ray must go.
inline bool RaysWentThrough(std::span<const SightImage* const> sights,
                            const SimplePointT<double>& place, double margin, double reach) {
    using detail::Length, detail::operator-;
    for (const SightImage* sight : sights) {
        const double away = Length(place - sight->Station());
        if (away > reach) continue;
        if (sight->Towards(place).farthest > away + margin) return true;
    }
    return false;
}

}  // namespace orvix::building
