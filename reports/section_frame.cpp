// SPDX-License-Identifier: GPL-3.0-or-later
#include "reports/section_frame.h"

#include <algorithm>
#include <cmath>

#include "orvix/gpu/revit_amp.h"

namespace orvix::reports {

namespace {

using detail::Dot, detail::Length, detail::Vector, detail::operator-, detail::operator*;

// No coordinate on Earth is that far from its system's zero.
constexpr double kFarthest = 1e9;

bool IsNear(const Vector& p) {
    return std::fabs(p.x) <= kFarthest && std::fabs(p.y) <= kFarthest &&
           std::fabs(p.z) <= kFarthest;
}

// The directions are those that the library gives a host.
std::optional<SectionFrame> Facing(const Vector& origin, const Vector& normal) {
    RevitAMP section;
    if (!IsNear(origin) || !section.SetPlane({0, 0, 0}, normal)) return {};
    std::array<double, 16> m{};
    section.GetTransformation(m);
    for (double& number : m) number += 0.0;  // no -0, which readers would wonder about
    return SectionFrame{origin, {m[0], m[1], m[2]}, {m[4], m[5], m[6]}, {m[8], m[9], m[10]}};
}

}  // namespace

std::optional<SectionFrame> SectionFrame::OfPlane(const std::array<double, 4>& equation) {
    const auto& [a, b, c, d] = equation;
    // Numbers of any size: the largest is brought to 1 before it is squared.
    const double largest = std::max({std::fabs(a), std::fabs(b), std::fabs(c)});
    if (!(largest > 0) || !std::isfinite(largest)) return {};
    const Vector normal{a / largest, b / largest, c / largest};
    return Facing(normal * (-(d / largest) / Dot(normal, normal)), normal);
}

std::optional<SectionFrame> SectionFrame::AtLevel(double height) {
    return Facing({0, 0, height}, {0, 0, 1});
}

std::optional<SectionFrame> SectionFrame::Through(const std::array<double, 4>& places) {
    const auto& [x1, y1, x2, y2] = places;
    if (!IsNear({x2, y2, 0})) return {};
    return Facing({x1, y1, 0}, {y2 - y1, x1 - x2, 0});
}

std::array<double, 4> SectionFrame::Equation() const {
    return {0 - away.x, 0 - away.y, 0 - away.z, Dot(away, origin) + 0.0};
}

Vector SectionFrame::ToSection(const Vector& world) const {
    const Vector offset = world - origin;
    return {Dot(right, offset), Dot(away, offset), Dot(up, offset)};
}

}  // namespace orvix::reports
