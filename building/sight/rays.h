// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <span>
#include <vector>

#include "building/sight/sight_image.h"

namespace orvix::building {

/// How a place looks from the stations that could see it.
struct Looks {
    int through = 0;  ///< stations whose rays went on behind it
    int at = 0;       ///< whose rays ended there
    int before = 0;   ///< whose rays ended before it
    int none = 0;     ///< whose rays towards it did not come back

    [[nodiscard]] int All() const { return through + at + before + none; }
};

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
