// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/faces/face_line.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "building/plan_length.h"

namespace orvix::building {
namespace {

using detection::FoundPlane;

constexpr double kMostLean = 0.0872;  // of a unit normal's z: 5 degrees
constexpr double kLeastArea = 0.02;   // square metres
constexpr double kSameLine = 0.015;   // metres

struct Extent {
    double begin = std::numeric_limits<double>::infinity();
    double end = -std::numeric_limits<double>::infinity();

    void Add(double value) {
        begin = std::min(begin, value);
        end = std::max(end, value);
    }
};

void AddExtent(const FoundPlane& plane, FaceLine& line) {
    Extent along{line.begin, line.end}, height{line.bottom, line.top};
    for (const PlaneRegion& region : plane.outline.regions)
        for (const SimplePoint2DT<double>& corner : region.outer.points) {
            const SimplePointT<double> p = detection::CornerOf(plane, corner);
            along.Add(line.Along({p.x, p.y}));
            height.Add(p.z);
        }
    line.begin = along.begin, line.end = along.end;
    line.bottom = height.begin, line.top = height.end;
}

FaceLine LineOf(const FoundPlane& plane) {
    FaceLine line;
    const double level = PlanLength(plane.normal.x, plane.normal.y);
    line.normal = {plane.normal.x / level, plane.normal.y / level};
    line.offset = line.normal.x * plane.centre.x + line.normal.y * plane.centre.y;
    const Extent none;
    line.begin = line.bottom = none.begin;
    line.end = line.top = none.end;
    AddExtent(plane, line);
    return line;
}

constexpr double kFarthest =
    25;  // metres from piece to piece: what is farther apart is another wall

bool SharesLine(const FaceLine& line, const FaceLine& other, double reach) {
    if (line.normal.x * other.normal.x + line.normal.y * other.normal.y < 0.9986) return false;
    const double from = line.Along(other.At(other.begin)), to = line.Along(other.At(other.end));
    if (std::min(from, to) > line.end + kFarthest || std::max(from, to) < line.begin - kFarthest)
        return false;
    return std::abs(line.Before(other.At(other.begin))) <= reach &&
           std::abs(line.Before(other.At(other.end))) <= reach;
}

}  // namespace

std::optional<FaceLine> FaceLineOf(const FoundPlane& plane) {
    if (std::abs(plane.normal.z) > kMostLean || plane.area < kLeastArea ||
        plane.outline.regions.empty())
        return std::nullopt;
    return LineOf(plane);
}

FaceLines FaceLinesOf(const std::vector<FoundPlane>& planes) {
    FaceLines found;
    std::vector<std::size_t> order(planes.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return planes[a].area > planes[b].area; });
    for (const std::size_t i : order) {
        const FoundPlane& plane = planes[i];
        auto upright = FaceLineOf(plane);
        if (!upright) continue;
        FaceLine& own = *upright;
        const auto shared =
            std::find_if(found.lines.begin(), found.lines.end(), [&](const FaceLine& line) {
                return SharesLine(line, own, std::max(kSameLine, planes[line.planes[0]].rms * 3));
            });
        if (shared == found.lines.end()) {
            own.planes = {i};
            found.lines.push_back(std::move(own));
            continue;
        }
        shared->planes.push_back(i);
        AddExtent(plane, *shared);
    }
    return found;
}

}  // namespace orvix::building
