// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/deviation/polygon_triangles.h"

#include <cmath>
#include <cstddef>

#include "orvix/geometry/vector.h"

namespace orvix::reports {

namespace {

using detail::Cross, detail::Dot, detail::Vector, detail::operator-, detail::operator+;

using Flat = SimplePoint2DT<double>;

double TwiceArea(const Flat& a, const Flat& b, const Flat& c) {
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

/// Twice the area as a vector along the normal, whatever the corners' number.
Vector NormalOf(const std::vector<Vector>& ring) {
    Vector sum;
    for (std::size_t i = 1; i + 1 < ring.size(); ++i)
        sum = sum + Cross(ring[i] - ring[0], ring[i + 1] - ring[0]);
    return sum;
}

/// The ring seen along the axis that its normal is nearest to, counter-clockwise.
std::vector<Flat> Flattened(const std::vector<Vector>& ring, const Vector& normal) {
    const double x = std::abs(normal.x), y = std::abs(normal.y), z = std::abs(normal.z);
    std::vector<Flat> flat;
    for (const Vector& p : ring) {
        if (x >= y && x >= z)
            flat.push_back(normal.x > 0 ? Flat{p.y, p.z} : Flat{p.z, p.y});
        else if (y >= z)
            flat.push_back(normal.y > 0 ? Flat{p.z, p.x} : Flat{p.x, p.z});
        else
            flat.push_back(normal.z > 0 ? Flat{p.x, p.y} : Flat{p.y, p.x});
    }
    return flat;
}

bool IsEar(const std::vector<Flat>& flat, const std::vector<std::size_t>& left, std::size_t i) {
    const std::size_t before = left[(i + left.size() - 1) % left.size()];
    const std::size_t after = left[(i + 1) % left.size()];
    const Flat &a = flat[before], &b = flat[left[i]], &c = flat[after];
    if (!(TwiceArea(a, b, c) > 0)) return false;
    for (const std::size_t other : left) {
        if (other == before || other == left[i] || other == after) continue;
        const Flat& p = flat[other];
        const bool isCorner =
            (p.x == a.x && p.y == a.y) || (p.x == b.x && p.y == b.y) || (p.x == c.x && p.y == c.y);
        if (!isCorner && TwiceArea(a, b, p) >= 0 && TwiceArea(b, c, p) >= 0 &&
            TwiceArea(c, a, p) >= 0)
            return false;
    }
    return true;
}

}  // namespace

void AddTriangles(const std::vector<Vector>& ring, std::vector<std::array<Vector, 3>>& triangles) {
    if (ring.size() == 3) {
        triangles.push_back({ring[0], ring[1], ring[2]});
        return;
    }
    const Vector normal = NormalOf(ring);
    if (!(Dot(normal, normal) > 0)) return;
    const std::vector<Flat> flat = Flattened(ring, normal);
    std::vector<std::size_t> left(ring.size());
    for (std::size_t i = 0; i < left.size(); ++i) left[i] = i;
    const auto cut = [&](std::size_t i) {
        triangles.push_back({ring[left[(i + left.size() - 1) % left.size()]], ring[left[i]],
                             ring[left[(i + 1) % left.size()]]});
        left.erase(left.begin() + static_cast<std::ptrdiff_t>(i));
    };
    while (left.size() > 3) {
        std::size_t ear = 0;
        while (ear < left.size() && !IsEar(flat, left, ear)) ++ear;
        // Corners on a line, or a polygon that crosses itself: the first one goes.
        cut(ear < left.size() ? ear : 0);
    }
    cut(1);
}

}  // namespace orvix::reports
