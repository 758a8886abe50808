// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <functional>

#include "orvix/c/planes_handle.h"
#include "orvix/geometry/vector.h"
#include "reports/place_reason.h"

using namespace orvix;
using namespace orvix::detail;

namespace {

using detection::PlanePoints;
using reports::PlaceVerdict;

static_assert(static_cast<int>(PlaceVerdict::OnPlane) == ORVIX_PLACE_ON_PLANE &&
              static_cast<int>(PlaceVerdict::TooFar) == ORVIX_PLACE_TOO_FAR &&
              static_cast<int>(PlaceVerdict::Dropped) == ORVIX_PLACE_LEFT_OUT &&
              static_cast<int>(PlaceVerdict::NotFlat) == ORVIX_PLACE_NOT_FLAT &&
              static_cast<int>(PlaceVerdict::NoPlane) == ORVIX_PLACE_NO_PLANE &&
              static_cast<int>(PlaceVerdict::Empty) == ORVIX_PLACE_EMPTY);

// The chunk that holds a record.
std::size_t ChunkOf(const detection::PlaneSet& set, std::uint64_t record) {
    std::size_t low = 0;
    std::size_t high = set.Chunks();
    while (high - low > 1) {
        const std::size_t middle = low + (high - low) / 2;
        (set.FirstRecord(middle) <= record ? low : high) = middle;
    }
    return low;
}

// Hands over the points of all chunks that reach into records `first` to `end` - 1; asks between chunks,
// which are some tens of thousands of points, with the part of the records that is done.
Answer ReadPoints(const orvix_planes& planes, std::uint64_t first, std::uint64_t end,
                  const std::function<void(const PlanePoints&)>& use,
                  orvix_proceed proceed = nullptr, void* user = nullptr) {
    if (first == end) return {};
    const auto reader = planes.project->Core().CreateAlivePointReader();
    if (!reader) {
        return Refuse(ORVIX_FAILED, "the points cannot be mapped; close other programs and retry");
    }
    const detection::PlaneSet& set = *planes.set;
    for (std::size_t chunk = ChunkOf(set, first);
         chunk < set.Chunks() && set.FirstRecord(chunk) < end; ++chunk) {
        const std::uint64_t at = std::max(set.FirstRecord(chunk), first);
        if (proceed != nullptr &&
            proceed(user, static_cast<double>(at - first) / static_cast<double>(end - first)) == 0)
            return Refuse(ORVIX_CANCELLED, "reading the points of a plane was cancelled");
        if (auto done = set.ReadChunk(*reader, chunk, use); !done) return Refuse(done.error());
    }
    return {};
}

void CopyNumbers(const detection::PlaneSet& set, const PlanePoints& points, std::uint64_t first,
                 std::uint64_t end, std::uint32_t* numbers) {
    for (std::size_t i = 0; i < points.planes.size(); ++i) {
        const std::uint64_t record = points.firstRecord + i;
        if (record >= first && record < end)
            numbers[record - first] = set.NumberOf(points.planes[i]);
    }
}

/// Where the points of one plane are put; either array may be null.
struct PointLists {
    std::int32_t plane;  ///< a place in the list of planes
    double* xyz;
    std::uint64_t* records;
    std::uint64_t left;  ///< items that both still hold

    void Add(const PlanePoints& points, const LocalToWorld& frame);
};

void PointLists::Add(const PlanePoints& points, const LocalToWorld& frame) {
    for (std::size_t i = 0; i < points.planes.size() && left > 0; ++i) {
        if (points.planes[i] != plane) continue;
        --left;
        if (records != nullptr) *records++ = points.firstRecord + i;
        if (xyz == nullptr) continue;
        const auto& p = points.points[i];
        const Vector world = frame.ToWorld(Vector{p.x, p.y, p.z});
        *xyz++ = world.x;
        *xyz++ = world.y;
        *xyz++ = world.z;
    }
}

orvix_place RecordOf(const orvix_planes& planes, const detection::PlaceReport& report) {
    orvix_place place{};
    place.verdict = static_cast<std::int32_t>(reports::VerdictOf(report));
    place.plane = planes.set->NumberOf(report.plane);
    place.nearest = planes.set->NumberOf(report.nearest);
    place.points = report.points;
    place.distance = report.nearestDistance;
    place.allowed =
        report.nearest < 0
            ? planes.search->Settings().distance
            : planes.search->Planes()[static_cast<std::size_t>(report.nearest)].tolerance;
    place.turn = reports::TurnInDegrees(report);
    place.cell_rms = report.cellRms;
    const Vector turned = planes.frame.ToWorld(report.cellNormal) - planes.frame.ToWorld(Vector{});
    const double length = Length(turned);
    if (length > 0) {
        place.cell_normal[0] = turned.x / length;
        place.cell_normal[1] = turned.y / length;
        place.cell_normal[2] = turned.z / length;
    }
    return place;
}

}  // namespace

orvix_status orvix_planes_read_numbers(const orvix_planes* planes, uint64_t first, uint64_t count,
                                       uint32_t* numbers, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(planes, "planes"); !there) return there;
        if (auto inside = RequireRange(first, count, planes->set->Points(), "points"); !inside)
            return inside;
        if (count == 0) return {};
        if (auto there = RequirePointer(numbers, "numbers"); !there) return there;
        return ReadPoints(*planes, first, first + count, [&](const PlanePoints& points) {
            CopyNumbers(*planes->set, points, first, first + count, numbers);
        });
    });
}

orvix_status orvix_planes_get_points(const orvix_planes* planes, uint32_t number, double* xyz,
                                     uint64_t* records, uint64_t capacity, uint64_t* count,
                                     orvix_error* error) {
    return orvix_planes_get_points_while(planes, number, nullptr, nullptr, xyz, records, capacity,
                                         count, error);
}

orvix_status orvix_planes_get_points_while(const orvix_planes* planes, uint32_t number,
                                           orvix_proceed proceed, void* user, double* xyz,
                                           uint64_t* records, uint64_t capacity, uint64_t* count,
                                           orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(planes, "planes"); !there) return there;
        const auto place = PlaceOf(*planes, number);
        if (!place) return ErrorOf(place);
        const std::uint64_t points = planes->planes[*place].points;
        const void* either = xyz != nullptr ? static_cast<const void*>(xyz) : records;
        const auto fill = Fits(points, either, capacity, count, "points");
        if (!fill) return ErrorOf(fill);
        if (!*fill) return {};
        PointLists lists{static_cast<std::int32_t>(*place), xyz, records, points};
        auto done = ReadPoints(
            *planes, 0, planes->set->Points(),
            [&](const PlanePoints& some) { lists.Add(some, planes->frame); }, proceed, user);
        if (done && lists.left > 0)
            return Refuse(ORVIX_DAMAGED, "the points have changed since; search again");
        return done;
    });
}

orvix_status orvix_planes_explain(const orvix_planes* planes, const double* world,
                                  orvix_place* place, orvix_error* error) {
    return Answered(error, [&]() -> Answer {
        if (auto there = RequirePointer(planes, "planes"); !there) return there;
        if (auto there = RequirePointer(world, "world"); !there) return there;
        if (!std::all_of(world, world + 3, [](double v) { return std::isfinite(v); }))
            return Refuse(ORVIX_BAD_ARGUMENT, "the position is not finite");
        if (!planes->search) {
            return Refuse(ORVIX_BAD_ARGUMENT,
                          "saved planes explain no place; find them again (orvix_planes_find)");
        }
        const auto report =
            planes->search->Explain(planes->frame.ToLocal({world[0], world[1], world[2]}));
        if (!report) return Refuse(report.error());
        return Give(RecordOf(*planes, *report), place, "place");
    });
}
