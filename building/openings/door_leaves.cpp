// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/openings/door_leaves.h"

#include <algorithm>
#include <array>

#include "building/plan_length.h"
#include "building/wall_frame.h"

namespace orvix::building {
namespace {

constexpr double kAtJamb = 0.15;      // metres from a jamb to the edge of its leaf
constexpr double kParallel = 0.9962;  // cosine of 5 degrees: what is so flat is part of the wall

// The edge of an upright plane that is nearer to a place, and how far away.
double EdgeAway(const FaceLine& leaf, const PlanPoint& place) {
    const PlanPoint a = leaf.At(leaf.begin), b = leaf.At(leaf.end);
    return std::min(PlanLength(a.x - place.x, a.y - place.y),
                    PlanLength(b.x - place.x, b.y - place.y));
}

bool Fits(const FaceLine& leaf, const Wall& wall, const Opening& door) {
    const double width = leaf.end - leaf.begin, height = leaf.top - leaf.bottom;
    if (width < 0.7 * door.width.value || width > 1.15 * door.width.value) return false;
    if (height < 0.75 * door.height.value || leaf.top > door.bottom + 1.1 * door.height.value)
        return false;
    const PlanPoint way = DirectionOf(wall), own = leaf.Way();
    if (std::abs(way.x * own.x + way.y * own.y) > kParallel) return false;
    const double half = wall.thickness ? wall.thickness->value / 2 : 0;
    for (const double jamb : {door.along - door.width.value / 2, door.along + door.width.value / 2})
        for (const double left : {-half, 0.0, half}) {
            const SimplePointT<double> place = PlaceIn(wall, jamb, left, 0);
            if (EdgeAway(leaf, {place.x, place.y}) <= kAtJamb) return true;
        }
    return false;
}

}  // namespace

void FindLeaf(const Wall& wall, const PlaneEvidence& planes, Opening& door) {
    if (door.kind != OpeningKind::Door || door.state != OpeningState::Free) return;
    const std::vector<detection::FoundPlane>& all = planes.Scan().planes;
    for (std::size_t p = 0; p < all.size(); ++p) {
        const auto leaf = FaceLineOf(all[p]);
        if (!leaf || leaf->top < door.bottom || leaf->bottom > door.bottom + door.height.value)
            continue;
        if (!Fits(*leaf, wall, door)) continue;
        const std::uint32_t inferred = door.evidence.inferred;
        const double seen = door.evidence.seen, hidden = door.evidence.hidden;
        door.evidence = planes.Of({p});
        door.evidence.seen = seen;
        door.evidence.hidden = hidden;
        door.evidence.inferred = inferred & ~std::uint32_t{kKindBySize};
        door.state = OpeningState::Open;
        return;
    }
}

}  // namespace orvix::building
