// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace orvix::detail {

/// Calls use(ring) for every ring of a PlaneOutline, or of a shape like it: region by region, the outer ring
/// and then its holes.
template <class Shape, class Use>
void ForEachRing(Shape& shape, Use&& use) {
    for (auto& region : shape.regions) {
        use(region.outer);
        for (auto& hole : region.holes) use(hole);
    }
}

}  // namespace orvix::detail
