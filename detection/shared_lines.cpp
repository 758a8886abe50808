// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/shared_lines.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

#include "detection/outlines/rim_lines.h"
#include "orvix/geometry/vector.h"

namespace orvix::detection {
namespace {

using detail::Cross, detail::Dot, detail::Length, detail::Vector;
using detail::operator+, detail::operator-, detail::operator*;

constexpr double kPixels = 2;           // that a rim of a raster may lie beside its line
constexpr double kLeastSine = 0.3420;   // of two planes that meet: 20 degrees
constexpr double kMostLeftOpen = 0.25;  // metres, by tolerances

using Box = ExtendsT<double>;

// 2D coordinates whose corner comes to lie at `p`, a point of the plane: corners are brought from the
// frame onto the plane along its normal.
SimplePoint2DT<double> FlatOf(const FoundPlane& plane, const Vector& p) {
    const double turn = Dot(plane.normal, plane.frame.Normal());
    return plane.frame.To2D(p - plane.normal * (plane.frame.Distance(p) / turn));
}

double ReachOf(const FoundPlane& plane, const FoundPlane& other, double sine) {
    return kPixels * plane.outline.radius +
           std::min((plane.tolerance + other.tolerance) / sine, kMostLeftOpen);
}

// Of the corners, and what a rim may lie beside its line.
Box BoxOf(const FoundPlane& plane) {
    constexpr double kFar = std::numeric_limits<double>::infinity();
    Box box{{kFar, kFar, kFar}, {-kFar, -kFar, -kFar}};
    for (const PlaneRegion& region : plane.outline.regions) {
        for (const auto& corner : region.outer.points) {
            const Vector p = CornerOf(plane, corner);
            box.min = {std::min(box.min.x, p.x), std::min(box.min.y, p.y),
                       std::min(box.min.z, p.z)};
            box.max = {std::max(box.max.x, p.x), std::max(box.max.y, p.y),
                       std::max(box.max.z, p.z)};
        }
    }
    const double most = kPixels * plane.outline.radius + kMostLeftOpen;
    const Vector margin{most, most, most};
    return {box.min - margin, box.max + margin};
}

bool Touch(const Box& a, const Box& b) {
    return a.min.x <= b.max.x && b.min.x <= a.max.x && a.min.y <= b.max.y && b.min.y <= a.max.y &&
           a.min.z <= b.max.z && b.min.z <= a.max.z;
}

/// Where two planes meet; the same of both orders.
struct Meeting {
    Vector at;
    Vector along;  // of unit length
    double sine = 0;
};

// Precondition: the planes are turned to each other. The point is the one nearest to the middle of
// their centres.
Meeting MeetingOf(const FoundPlane& a, const FoundPlane& b) {
    const Vector cross = Cross(a.normal, b.normal);
    const double sine = Length(cross);
    const Vector along = cross * (1 / sine);
    const Vector middle = detail::Middle(a.centre, b.centre);
    const double offA = Dot(a.normal, middle) + a.offset;
    const double offB = Dot(b.normal, middle) + b.offset;
    const double cosine = Dot(a.normal, b.normal);
    const double square = sine * sine;
    const Vector foot =
        a.normal * ((offA - cosine * offB) / square) + b.normal * ((offB - cosine * offA) / square);
    return {middle - foot, along, sine};
}

struct Line2D {
    SimplePoint2DT<double> at;
    SimplePoint2DT<double> along;
};

// Both ends of a metre of the line are taken to the frame, which keeps corners on it exact.
Line2D In2D(const FoundPlane& plane, const Meeting& meeting) {
    const auto at = FlatOf(plane, meeting.at);
    const auto ahead = FlatOf(plane, meeting.at + meeting.along);
    const double x = ahead.x - at.x;
    const double y = ahead.y - at.y;
    const double length = std::sqrt(x * x + y * y);
    return {at, {x / length, y / length}};
}

// The neighbours of each plane, ascending.
std::vector<std::vector<std::size_t>> NeighboursOf(const std::vector<FoundPlane>& planes) {
    std::vector<std::pair<double, std::size_t>> order;
    std::vector<Box> boxes;
    for (std::size_t i = 0; i < planes.size(); ++i) {
        boxes.push_back(BoxOf(planes[i]));
        if (!planes[i].outline.regions.empty()) order.push_back({boxes[i].min.x, i});
    }
    std::sort(order.begin(), order.end());
    std::vector<std::vector<std::size_t>> neighbours(planes.size());
    for (std::size_t k = 0; k < order.size(); ++k) {
        const std::size_t i = order[k].second;
        for (std::size_t m = k + 1; m < order.size(); ++m) {
            const std::size_t j = order[m].second;
            if (boxes[j].min.x > boxes[i].max.x) break;
            if (!Touch(boxes[i], boxes[j])) continue;
            if (Length(Cross(planes[i].normal, planes[j].normal)) < kLeastSine) continue;
            neighbours[i].push_back(j);
            neighbours[j].push_back(i);
        }
    }
    for (auto& list : neighbours) std::sort(list.begin(), list.end());
    return neighbours;
}

std::vector<RimLine> LinesOf(const std::vector<FoundPlane>& planes, std::size_t i,
                             const std::vector<std::size_t>& neighbours) {
    const FoundPlane& plane = planes[i];
    std::vector<RimLine> lines;
    for (const std::size_t j : neighbours) {
        const FoundPlane& other = planes[j];
        const Meeting meeting = MeetingOf(planes[std::min(i, j)], planes[std::max(i, j)]);
        const Line2D there = In2D(other, meeting);
        RimLine line;
        line.stretches =
            StretchesOf(other.outline, there.at, there.along, ReachOf(other, plane, meeting.sine));
        if (line.stretches.empty()) continue;
        const Line2D here = In2D(plane, meeting);
        line.at = here.at;
        line.along = here.along;
        line.reach = ReachOf(plane, other, meeting.sine);
        lines.push_back(std::move(line));
    }
    return lines;
}

// Rims of a strip that lie near lines on both of its sides, or along a line that it meets at a small
// angle, would close upon each other: what is left would say nothing about the surface.
bool KeepsItsArea(const PlaneOutline& before, const PlaneOutline& moved) {
    constexpr double kMostLost = 0.5;
    constexpr double kMostGained = 1.0;
    return moved.area >= (1 - kMostLost) * before.area &&
           moved.area <= (1 + kMostGained) * before.area;
}

}  // namespace

// BEHAVIOUR A18
Expected<void> ShareLines(std::vector<FoundPlane>& planes, const parallel::Pool& pool) {
    const auto neighbours = NeighboursOf(planes);
    std::vector<PlaneOutline> moved(planes.size());
    auto done = pool.RunJobs(planes.size(), [&](std::size_t i, unsigned) -> Expected<void> {
        moved[i] = planes[i].outline;
        MoveToLines(moved[i], LinesOf(planes, i, neighbours[i]));
        if (!KeepsItsArea(planes[i].outline, moved[i])) moved[i] = planes[i].outline;
        return {};
    });
    if (!done) return ErrorOf(done);
    for (std::size_t i = 0; i < planes.size(); ++i) {
        planes[i].outline = std::move(moved[i]);
        planes[i].area = planes[i].outline.area;
    }
    return {};
}

}  // namespace orvix::detection
