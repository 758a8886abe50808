// SPDX-License-Identifier: GPL-3.0-or-later
#include "orvix/project/saved/saved_plane.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "orvix/geometry/vector.h"
#include "orvix/points/byte_codec.h"

namespace orvix::detail {
namespace {

constexpr double kFarthest = 2e8;    // metres: no cell, and so no outline, reaches further
constexpr double kSmallest = 1e-6;   // metres: of an outline's pixels
constexpr double kLargest = 1e18;    // of areas and lengths
constexpr double kUnitError = 1e-6;  // of a unit normal's squared length
constexpr std::size_t kRingBytes = 4 + 3 * 16;

void PutRing(const PlaneRing& ring, std::vector<std::uint8_t>& bytes) {
    PutValue(bytes, static_cast<std::uint32_t>(ring.points.size()));
    for (const SimplePoint2DT<double>& corner : ring.points) PutValue(bytes, corner);
}

// Each takes part of a plane; false where the bytes end.
bool TakeFrame(ByteTaker& from, PlaneFrame& frame) {
    std::array<double, 4> equation{};
    if (!from.Take(equation)) return false;
    frame = PlaneFrame(equation[0], equation[1], equation[2], equation[3]);
    return true;
}

bool TakeRing(ByteTaker& from, std::uint32_t& corners, PlaneRing& ring) {
    std::uint32_t count = 0;
    if (!from.Take(count) || count > from.Left() / sizeof(SimplePoint2DT<double>)) return false;
    ring.points.resize(count);
    for (SimplePoint2DT<double>& corner : ring.points) {
        if (!from.Take(corner)) return false;
        ring.indices.push_back(corners++);
    }
    return true;
}

bool TakeRegion(ByteTaker& from, std::uint32_t& corners, PlaneRegion& region) {
    std::uint32_t rings = 0;
    if (!from.Take(rings) || rings == 0 || rings > from.Left() / kRingBytes) return false;
    region.holes.resize(rings - 1);
    if (!TakeRing(from, corners, region.outer)) return false;
    return std::all_of(region.holes.begin(), region.holes.end(),
                       [&](PlaneRing& hole) { return TakeRing(from, corners, hole); });
}

bool TakePlane(ByteTaker& from, SavedPlane& plane) {
    std::uint32_t regions = 0;
    const bool taken = from.Take(plane.number) && from.Take(plane.kind) && from.Take(plane.group) &&
                       from.Take(regions) && from.Take(plane.normal) && from.Take(plane.offset) &&
                       from.Take(plane.centre) && from.Take(plane.points) && from.Take(plane.rms) &&
                       from.Take(plane.tolerance) && from.Take(plane.area) &&
                       TakeFrame(from, plane.frame) && from.Take(plane.outline.area) &&
                       from.Take(plane.outline.radius);
    if (!taken || regions > from.Left() / (4 + kRingBytes)) return false;
    plane.outline.regions.resize(regions);
    std::uint32_t corners = 0;
    return std::all_of(plane.outline.regions.begin(), plane.outline.regions.end(),
                       [&](PlaneRegion& region) { return TakeRegion(from, corners, region); });
}

bool IsPlace(const SimplePointT<double>& p) {
    return std::abs(p.x) <= kFarthest && std::abs(p.y) <= kFarthest && std::abs(p.z) <= kFarthest;
}

bool IsUnit(const SimplePointT<double>& n) {
    return std::abs(Dot(n, n) - 1) <= kUnitError;
}

bool IsLength(double value) {
    return value >= 0 && value <= kLargest;
}

// Twice the area inside a ring, above 0 where it runs counter-clockwise; counted from its first
// corner, to keep small rings far away exact.
double TwiceAreaOf(const PlaneRing& ring) {
    const SimplePoint2DT<double> zero = ring.points[0];
    double twice = 0;
    for (std::size_t i = 1; i + 1 < ring.points.size(); ++i) {
        const SimplePoint2DT<double>&a = ring.points[i], &b = ring.points[i + 1];
        twice += (a.x - zero.x) * (b.y - zero.y) - (a.y - zero.y) * (b.x - zero.x);
    }
    return twice;
}

bool IsRing(const PlaneRing& ring, double direction) {
    const auto inside = [](const SimplePoint2DT<double>& p) {
        return std::abs(p.x) <= kFarthest && std::abs(p.y) <= kFarthest;
    };
    return ring.points.size() >= 3 && std::all_of(ring.points.begin(), ring.points.end(), inside) &&
           TwiceAreaOf(ring) * direction > 0;
}

bool IsOutline(const PlaneOutline& outline) {
    if (!IsLength(outline.area) || !IsLength(outline.radius)) return false;
    if (!outline.regions.empty() && outline.radius < kSmallest) return false;
    return std::all_of(
        outline.regions.begin(), outline.regions.end(), [](const PlaneRegion& region) {
            const auto isHole = [](const PlaneRing& ring) { return IsRing(ring, -1); };
            return IsRing(region.outer, 1) &&
                   std::all_of(region.holes.begin(), region.holes.end(), isHole);
        });
}

std::string FaultOf(const SavedPlane& plane, std::uint64_t nextNumber) {
    if (plane.number == 0 || plane.number >= nextNumber)
        return fmt::format("has the number {} of numbers below {}", plane.number, nextNumber);
    if (plane.group > kMaxPlaneNumber) return fmt::format("is of group {}", plane.group);
    if (plane.kind >= SavedPlane::kKinds) return fmt::format("is of kind {}", plane.kind);
    if (!IsUnit(plane.normal) || !IsUnit(plane.frame.Normal()))
        return "has a normal that is not of unit length";
    if (!IsPlace(plane.centre) || !(std::abs(plane.offset) <= kLargest) ||
        !(std::abs(plane.frame.D()) <= kLargest))
        return "lies where no point can be";
    if (!IsLength(plane.rms) || !IsLength(plane.tolerance) || !IsLength(plane.area))
        return "has an rms, tolerance or area that cannot be";
    if (!IsOutline(plane.outline)) return "has an outline that is none";
    return {};
}

std::string FaultOf(const std::vector<SavedPlane>& planes, std::uint64_t nextNumber) {
    std::vector<std::uint32_t> numbers;
    for (std::size_t i = 0; i < planes.size(); ++i) {
        std::string fault = FaultOf(planes[i], nextNumber);
        if (!fault.empty()) return fmt::format("plane {} of {} {}", i + 1, planes.size(), fault);
        numbers.push_back(planes[i].number);
    }
    std::sort(numbers.begin(), numbers.end());
    const auto twice = std::adjacent_find(numbers.begin(), numbers.end());
    if (twice == numbers.end()) return {};
    return fmt::format("two planes have the number {}", *twice);
}

}  // namespace

void EncodePlane(const SavedPlane& plane, std::vector<std::uint8_t>& bytes) {
    const PlaneOutline& outline = plane.outline;
    PutValue(bytes, plane.number);
    PutValue(bytes, plane.kind);
    PutValue(bytes, plane.group);
    PutValue(bytes, static_cast<std::uint32_t>(outline.regions.size()));
    PutValue(bytes, plane.normal);
    PutValue(bytes, plane.offset);
    PutValue(bytes, plane.centre);
    PutValue(bytes, plane.points);
    for (const double value :
         {plane.rms, plane.tolerance, plane.area, plane.frame.A(), plane.frame.B(), plane.frame.C(),
          plane.frame.D(), outline.area, outline.radius})
        PutValue(bytes, value);
    for (const PlaneRegion& region : outline.regions) {
        PutValue(bytes, static_cast<std::uint32_t>(1 + region.holes.size()));
        PutRing(region.outer, bytes);
        for (const PlaneRing& hole : region.holes) PutRing(hole, bytes);
    }
}

bool DecodePlanes(std::span<const std::uint8_t> bytes, std::uint64_t count,
                  std::uint64_t nextNumber, std::vector<SavedPlane>& planes, std::string& fault) {
    ByteTaker from(bytes);
    planes.clear();
    for (std::uint64_t i = 0; i < count; ++i) {
        SavedPlane plane;
        if (!TakePlane(from, plane)) {
            fault = fmt::format("plane {} of {} does not end where it should", i + 1, count);
            return false;
        }
        planes.push_back(std::move(plane));
    }
    if (from.Left() != 0)
        fault = fmt::format("{} bytes follow the last of {} planes", from.Left(), count);
    else
        fault = FaultOf(planes, nextNumber);
    return fault.empty();
}

}  // namespace orvix::detail
