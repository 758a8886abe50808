// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/deviation/surface_sides.h"

#include <algorithm>
#include <cstdint>
#include <tuple>

#include "orvix/geometry/vector.h"

namespace orvix::reports {

namespace {

using detail::Cross, detail::Dot, detail::Vector, detail::operator-;

bool IsBefore(const Vector& a, const Vector& b) {
    return std::tie(a.x, a.y, a.z) < std::tie(b.x, b.y, b.z);
}

bool EnclosesSolid(const std::vector<std::array<Vector, 3>>& triangles) {
    std::vector<Vector> corners;
    for (const auto& triangle : triangles)
        corners.insert(corners.end(), triangle.begin(), triangle.end());
    std::sort(corners.begin(), corners.end(), IsBefore);
    const auto numberOf = [&](const Vector& corner) {
        return static_cast<std::uint64_t>(
            std::lower_bound(corners.begin(), corners.end(), corner, IsBefore) - corners.begin());
    };
    struct Edge {
        std::uint64_t low, high;
        int way;
    };
    std::vector<Edge> edges;
    for (const auto& triangle : triangles) {
        for (std::size_t i = 0; i < 3; ++i) {
            const std::uint64_t from = numberOf(triangle[i]), to = numberOf(triangle[(i + 1) % 3]);
            edges.push_back({std::min(from, to), std::max(from, to), from < to ? 1 : -1});
        }
    }
    std::sort(edges.begin(), edges.end(), [](const Edge& a, const Edge& b) {
        return std::tie(a.low, a.high) < std::tie(b.low, b.high);
    });
    for (std::size_t i = 0; i < edges.size();) {
        int sum = 0;
        const std::size_t first = i;
        for (; i < edges.size() && edges[i].low == edges[first].low &&
               edges[i].high == edges[first].high;
             ++i)
            sum += edges[i].low == edges[i].high ? 0 : edges[i].way;
        if (sum != 0) return false;
    }
    return true;
}

}  // namespace

SurfaceSides SidesOf(const std::vector<std::array<Vector, 3>>& triangles) {
    if (triangles.size() < 4 || !EnclosesSolid(triangles)) return SurfaceSides::Both;
    double volume = 0;
    const Vector origin = triangles.front()[0];
    for (const auto& [a, b, c] : triangles)
        volume += Dot(a - origin, Cross(b - origin, c - origin));
    if (volume == 0) return SurfaceSides::Both;
    return volume > 0 ? SurfaceSides::Front : SurfaceSides::Back;
}

}  // namespace orvix::reports
