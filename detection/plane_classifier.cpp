// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/plane_classifier.h"

#include <algorithm>
#include <cmath>

namespace orvix::detection {
namespace {

constexpr double kLevel = 0.98480775301220805937;    // cosine of 10 degrees
constexpr double kUpright = 0.17364817766693034885;  // its sine
constexpr double kMaxCoveredShare = 0.3;             // of a roof's cells that lie under something
constexpr double kCovering = 0.6;     // of a ceiling's cells, or a table's, that lie over something
constexpr double kReach = 8;          // metres up or down that count
constexpr double kMinReachCells = 6;  // cells up or down, at least
constexpr double kAirborne = 0.15;    // metres between points: what is thinner is from the air
constexpr double kFurniture = 1.5;    // metres: what is no higher is no ceiling

}  // namespace

PlaneClassifier::PlaneClassifier(const CellMap& map, const std::vector<Vector>& stations,
                                 double spacing)
    : map_(map),
      stations_(stations),
      reach_(std::max(kReach, kMinReachCells * map.Frame().Size())),
      fromAir_(stations.empty() && spacing > kAirborne) {
    for (std::size_t tile = 0; tile < map.Tiles(); ++tile) {
        std::array<std::int64_t, 3> sum{};
        for (std::uint32_t cell = 0; cell < map.CellsIn(tile); ++cell)
            for (std::size_t axis = 0; axis < 3; ++axis) sum[axis] += map.PlaceOf(tile, cell)[axis];
        middle_ = middle_ + Vector{static_cast<double>(sum[0]), static_cast<double>(sum[1]),
                                   static_cast<double>(sum[2])};
    }
    if (map.Cells() > 0)
        middle_ = middle_ * (map.Frame().Size() / static_cast<double>(map.Cells()));
}

// Walls and clutter begin where a floor ends and rise; below a ceiling they hang. What is level
// itself, such as the ceiling of the storey below, does not count.
bool PlaneClassifier::HasMoreBelow(std::span<const CellPlace> cells) const {
    std::uint64_t above = 0, below = 0;
    const auto standing = [&](const CellPlace& at, std::int32_t low) {
        std::uint64_t count = 0;
        map_.ForColumn(at[0], at[1], at[2] + low, at[2] + low + 2, [&](CellSummary summary) {
            count += summary.Stands() ? 1 : 0;
            return true;
        });
        return count;
    };
    for (const CellPlace& at : cells) {
        for (std::int32_t x = -1; x <= 1; ++x) {
            for (std::int32_t y = -1; y <= 1; ++y) {
                above += standing({at[0] + x, at[1] + y, at[2]}, 2);
                below += standing({at[0] + x, at[1] + y, at[2]}, -4);
            }
        }
    }
    return below > above;
}

// The share of cells that have others straight above (`way` 1) or below (-1), from three cells up
// to so many metres away.
double PlaneClassifier::ShareInSight(std::span<const CellPlace> cells, std::int32_t way,
                                     double metres) const {
    const auto reach = static_cast<std::int32_t>(metres / map_.Frame().Size());
    if (reach < 3) return 0;
    std::size_t hits = 0;
    for (const CellPlace& at : cells) {
        const std::int32_t near = at[2] + 3 * way, far = at[2] + reach * way;
        bool found = false;
        map_.ForColumn(at[0], at[1], std::min(near, far), std::max(near, far), [&](CellSummary) {
            found = true;
            return false;
        });
        hits += found ? 1 : 0;
    }
    return cells.empty() ? 0 : static_cast<double>(hits) / static_cast<double>(cells.size());
}

// Whether the normal points to most of the stations, the near ones counting more.
bool PlaneClassifier::FacesStations(const FoundPlane& plane) const {
    double votes = 0;
    for (const Vector& station : stations_) {
        const Vector to = station - plane.centre;
        const double side = Dot(to, plane.normal);
        votes += side / (1 + Dot(to, to));
    }
    return votes >= 0;
}

// A level plane that scanners see from below is a ceiling. Where no scanner is known, one that
// things hang from is, if it covers most of what lies below and was not seen from the air; covering
// it closely, it is the top of a table or a cupboard.
PlaneKind PlaneClassifier::KindOfLevel(std::span<const CellPlace> cells, bool seenFromBelow) const {
    if (seenFromBelow) return PlaneKind::Ceiling;
    if (!HasMoreBelow(cells)) return PlaneKind::Floor;
    const bool open = ShareInSight(cells, 1, reach_) <= kMaxCoveredShare;
    if (!stations_.empty()) return open ? PlaneKind::Roof : PlaneKind::Floor;
    // BEHAVIOUR A4
    if (fromAir_ || ShareInSight(cells, -1, reach_) <= kCovering) return PlaneKind::Roof;
    return ShareInSight(cells, -1, kFurniture) > kCovering ? PlaneKind::Other : PlaneKind::Ceiling;
}

void PlaneClassifier::Classify(std::span<const CellPlace> cells, FoundPlane& plane) const {
    const double upward = std::abs(plane.normal.z);
    const bool faces = !stations_.empty() && FacesStations(plane);
    bool turn = plane.normal.z < 0;
    if (upward >= kLevel) {
        const bool seenFromBelow = !stations_.empty() && faces == (plane.normal.z < 0);
        plane.kind = KindOfLevel(cells, seenFromBelow);
        turn = (plane.normal.z < 0) != (plane.kind == PlaneKind::Ceiling);
    } else if (upward <= kUpright) {
        plane.kind = PlaneKind::Wall;
        turn = Dot(plane.normal, plane.centre - middle_) < 0;
    } else {
        const bool open = ShareInSight(cells, 1, reach_) <= kMaxCoveredShare;
        plane.kind = open ? PlaneKind::Roof : PlaneKind::Other;
    }
    if (!stations_.empty()) turn = !faces;
    if (!turn) return;
    plane.normal = plane.normal * -1;
    plane.offset = -plane.offset;
}

}  // namespace orvix::detection
