// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/deviation/triangle_tree.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace orvix::reports {

namespace {

using detail::Cross, detail::Dot, detail::Length, detail::Unit, detail::Vector;
using detail::operator+, detail::operator-, detail::operator*;

constexpr std::uint32_t kLeaf = 4;

std::array<double, 3> AsArray(const Vector& v) {
    return {v.x, v.y, v.z};
}

/// The largest of |direction . (p - middle)| in a cube of this half side.
double SpreadIn(const Vector& direction, double half) {
    return half * (std::abs(direction.x) + std::abs(direction.y) + std::abs(direction.z));
}

double DistanceToSegment(const Vector& p, const Vector& a, const Vector& b) {
    const Vector along = b - a;
    const double share = std::clamp(Dot(p - a, along) / Dot(along, along), 0.0, 1.0);
    return Length(p - (a + along * share));
}

/// Whether the way from one place to another crosses a face.
bool Crosses(const Face& face, const Vector& from, const Vector& to) {
    const double start = face.HeightOf(from), end = face.HeightOf(to);
    if ((start > 0) == (end > 0)) return false;
    const Vector at = from + (to - from) * (start / (start - end));
    for (std::size_t i = 0; i < 3; ++i)
        if (Dot(face.rims[i], at) + face.rimOffsets[i] < 0) return false;
    return true;
}

}  // namespace

Face Face::Of(const std::array<Vector, 3>& corners, std::uint32_t element) {
    Face face;
    face.corners = corners;
    face.element = element;
    const Vector up = Cross(corners[1] - corners[0], corners[2] - corners[0]);
    const double longest =
        std::max({Length(corners[1] - corners[0]), Length(corners[2] - corners[1]),
                  Length(corners[0] - corners[2])});
    // Thinner than a micrometre: no surface, and no direction to trust.
    if (!(Length(up) > 1e-6 * longest)) return face;
    face.normal = Unit(up);
    face.offset = -Dot(face.normal, corners[0]);
    for (std::size_t i = 0; i < 3; ++i) {
        const Vector& from = corners[i];
        face.rims[i] = Unit(Cross(face.normal, corners[(i + 1) % 3] - from));
        face.rimOffsets[i] = -Dot(face.rims[i], from);
    }
    return face;
}

double Face::OverhangOf(const Vector& p, double most) const {
    double inside = std::numeric_limits<double>::max();
    for (std::size_t i = 0; i < 3; ++i) inside = std::min(inside, Dot(rims[i], p) + rimOffsets[i]);
    if (inside >= 0) return 0;
    if (-inside > most) return -inside;
    const Vector foot = p - normal * HeightOf(p);
    double nearest = std::numeric_limits<double>::max();
    for (std::size_t i = 0; i < 3; ++i)
        nearest = std::min(nearest, DistanceToSegment(foot, corners[i], corners[(i + 1) % 3]));
    return nearest;
}

bool MayBeNear(const Face& face, const Cube& cube, double reach, double overhang) {
    if (std::abs(face.HeightOf(cube.middle)) > reach + SpreadIn(face.normal, cube.half))
        return false;
    for (std::size_t i = 0; i < 3; ++i)
        if (Dot(face.rims[i], cube.middle) + face.rimOffsets[i] <
            -overhang - SpreadIn(face.rims[i], cube.half))
            return false;
    return true;
}

TriangleTree::TriangleTree(const std::vector<Face>& faces) : faces_(faces), order_(faces.size()) {
    std::iota(order_.begin(), order_.end(), 0U);
    order_.erase(
        std::remove_if(order_.begin(), order_.end(),
                       [&](std::uint32_t i) { return Dot(faces[i].normal, faces[i].normal) == 0; }),
        order_.end());
    if (!order_.empty()) Build(0, static_cast<std::uint32_t>(order_.size()));
}

void TriangleTree::Build(std::uint32_t first, std::uint32_t count) {
    std::array<double, 3> low{}, high{}, leastMiddle{}, greatestMiddle{};
    low.fill(std::numeric_limits<double>::max());
    leastMiddle = low;
    high.fill(std::numeric_limits<double>::lowest());
    greatestMiddle = high;
    const auto middleOf = [this](std::uint32_t face, std::size_t axis) {
        double sum = 0;
        for (const Vector& corner : faces_[face].corners) sum += AsArray(corner)[axis];
        return sum;
    };
    for (std::uint32_t i = first; i < first + count; ++i) {
        for (std::size_t axis = 0; axis < 3; ++axis) {
            for (const Vector& corner : faces_[order_[i]].corners) {
                low[axis] = std::min(low[axis], AsArray(corner)[axis]);
                high[axis] = std::max(high[axis], AsArray(corner)[axis]);
            }
            const double middle = middleOf(order_[i], axis);
            leastMiddle[axis] = std::min(leastMiddle[axis], middle);
            greatestMiddle[axis] = std::max(greatestMiddle[axis], middle);
        }
    }
    const std::size_t place = nodes_.size();
    nodes_.emplace_back();
    std::size_t widest = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        // Outward, so that rounding leaves no corner outside.
        nodes_[place].low[axis] =
            std::nextafter(static_cast<float>(low[axis]), -std::numeric_limits<float>::max());
        nodes_[place].high[axis] =
            std::nextafter(static_cast<float>(high[axis]), std::numeric_limits<float>::max());
        if (greatestMiddle[axis] - leastMiddle[axis] > greatestMiddle[widest] - leastMiddle[widest])
            widest = axis;
    }
    if (count <= kLeaf) {
        nodes_[place].first = first;
        nodes_[place].count = count;
        return;
    }
    const std::uint32_t half = count / 2;
    const auto begin = order_.begin() + first;
    std::nth_element(begin, begin + half, begin + count, [&](std::uint32_t a, std::uint32_t b) {
        const double left = middleOf(a, widest), right = middleOf(b, widest);
        return left < right || (left == right && a < b);
    });
    Build(first, half);
    nodes_[place].first = static_cast<std::uint32_t>(nodes_.size());
    Build(first + half, count - half);
}

void TriangleTree::FindNear(const Cube& cube, double reach, double overhang,
                            std::vector<std::uint32_t>& found) const {
    found.clear();
    if (nodes_.empty()) return;
    const double wide = cube.half + reach + overhang;
    const std::array<double, 3> middle = AsArray(cube.middle);
    const auto apart = [&](const Node& node) {
        for (std::size_t axis = 0; axis < 3; ++axis)
            if (node.low[axis] > middle[axis] + wide || node.high[axis] < middle[axis] - wide)
                return true;
        return false;
    };
    std::array<std::uint32_t, 64> waiting{};
    std::size_t count = 1;
    while (count > 0) {
        const std::uint32_t at = waiting[--count];
        const Node& node = nodes_[at];
        if (apart(node)) continue;
        if (node.count == 0) {
            waiting[count++] = node.first;
            waiting[count++] = at + 1;
            continue;
        }
        for (std::uint32_t i = node.first; i < node.first + node.count; ++i)
            if (MayBeNear(faces_[order_[i]], cube, reach, overhang)) found.push_back(order_[i]);
    }
    std::sort(found.begin(), found.end());
}

bool TriangleTree::IsCrossed(const Vector& from, const Vector& to, std::uint32_t& hint) const {
    if (nodes_.empty()) return false;
    if (hint < faces_.size() && Crosses(faces_[hint], from, to)) return true;
    const std::array<double, 3> start = AsArray(from), way = AsArray(to - from);
    // The part of the way that lies between a box's faces, axis by axis.
    const auto misses = [&](const Node& node) {
        double first = 0, last = 1;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            if (way[axis] == 0) {
                if (start[axis] < node.low[axis] || start[axis] > node.high[axis]) return true;
                continue;
            }
            const double a = (node.low[axis] - start[axis]) / way[axis];
            const double b = (node.high[axis] - start[axis]) / way[axis];
            first = std::max(first, std::min(a, b));
            last = std::min(last, std::max(a, b));
        }
        return first > last;
    };
    std::array<std::uint32_t, 64> waiting{};
    std::size_t count = 1;
    while (count > 0) {
        const std::uint32_t at = waiting[--count];
        const Node& node = nodes_[at];
        if (misses(node)) continue;
        if (node.count == 0) {
            waiting[count++] = node.first;
            waiting[count++] = at + 1;
            continue;
        }
        for (std::uint32_t i = node.first; i < node.first + node.count; ++i) {
            if (!Crosses(faces_[order_[i]], from, to)) continue;
            hint = order_[i];
            return true;
        }
    }
    return false;
}

}  // namespace orvix::reports
