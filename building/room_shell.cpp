// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/room_shell.h"

#include <algorithm>
#include <utility>

#include "orvix/geometry/vector.h"

namespace orvix::building {

namespace {

using detail::Vector, detail::operator-, detail::operator*, detail::Dot, detail::Length;
using Ring = std::vector<std::uint32_t>;

constexpr double kSame = 1e-6;  // metres

std::uint32_t PlaceOf(const Vector& p, std::vector<Vector>& corners) {
    const auto found = std::find_if(corners.begin(), corners.end(),
                                    [&](const Vector& q) { return Length(p - q) < kSame; });
    const auto place = static_cast<std::uint32_t>(found - corners.begin());
    if (found == corners.end()) corners.push_back(p);
    return place;
}

// Outside is where a room's faces are not seen from, so rings are turned.
Ring RingOf(const std::vector<Vector>& points, std::vector<Vector>& corners) {
    Ring ring;
    for (auto p = points.rbegin(); p != points.rend(); ++p) {
        const std::uint32_t place = PlaceOf(*p, corners);
        if (ring.empty() || ring.back() != place) ring.push_back(place);
    }
    while (ring.size() > 1 && ring.front() == ring.back()) ring.pop_back();
    return ring;
}

// The corners on the side from `a` to `b`, on their way, without its ends.
Ring CornersOn(std::uint32_t a, std::uint32_t b, const std::vector<Vector>& corners) {
    const Vector way = corners[b] - corners[a];
    const double squared = Dot(way, way);
    std::vector<std::pair<double, std::uint32_t>> on;
    for (std::uint32_t i = 0; i < corners.size(); ++i) {
        if (i == a || i == b) continue;
        const Vector offset = corners[i] - corners[a];
        const double share = Dot(offset, way) / squared;
        if (share > 0 && share < 1 && Length(offset - way * share) < kSame)
            on.emplace_back(share, i);
    }
    std::sort(on.begin(), on.end());
    Ring places;
    for (const auto& entry : on) places.push_back(entry.second);
    return places;
}

Ring WithCornersOn(const Ring& ring, const std::vector<Vector>& corners) {
    Ring full;
    for (std::size_t i = 0; i < ring.size(); ++i) {
        full.push_back(ring[i]);
        const Ring on = CornersOn(ring[i], ring[(i + 1) % ring.size()], corners);
        full.insert(full.end(), on.begin(), on.end());
    }
    return full;
}

}  // namespace

RoomShell ShellOf(const Room& room) {
    RoomShell shell;
    for (std::size_t i = 0; i < room.faces.size(); ++i) {
        RoomShell::Face face{{RingOf(room.faces[i].ring, shell.corners)}, i};
        if (face.rings[0].size() < 3) continue;
        for (const std::vector<Vector>& hole : room.faces[i].holes) {
            const Ring ring = RingOf(hole, shell.corners);
            if (ring.size() >= 3) face.rings.push_back(ring);
        }
        shell.faces.push_back(std::move(face));
    }
    for (RoomShell::Face& face : shell.faces)
        for (Ring& ring : face.rings) ring = WithCornersOn(ring, shell.corners);
    return shell;
}

}  // namespace orvix::building
