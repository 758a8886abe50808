// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/plane_kinds.h"

#include <algorithm>
#include <cmath>

namespace orvix::detection {
namespace {

constexpr double kLevel = 0.98480775301220805937;    // cosine of 10 degrees
constexpr double kUpright = 0.17364817766693034885;  // its sine
constexpr double kMostShare = 0.3;       // of a roof's cells that lie over, or under, something
constexpr std::int32_t kLeastReach = 6;  // cells up or down that are looked at
constexpr double kReach = 8;             // metres, likewise
constexpr std::size_t kMostCells = 200;  // that are asked what stands on them

}  // namespace

PlaneJudge::PlaneJudge(const CellGrid& grid, const std::vector<CellShape>& shapes,
                       const std::vector<Vector>& stations)
    : grid_(grid), shapes_(shapes), stations_(stations) {
    for (std::uint32_t i = 0; i < grid.Size(); ++i) middle_ = middle_ + grid.MeanOf(i);
    if (grid.Size() > 0) middle_ = middle_ * (1.0 / grid.Size());
}

std::int32_t PlaneJudge::Reach() const {
    return std::max(kLeastReach, static_cast<std::int32_t>(kReach / grid_.Frame().Size()));
}

// Walls and clutter begin where a floor ends and rise; below a ceiling they hang. What is level
// itself, such as the ceiling of the storey below, has no say.
bool PlaneJudge::HangsFromIt(std::span<const std::uint32_t> cells) const {
    const std::size_t stride = 1 + cells.size() / kMostCells;
    std::uint64_t above = 0, below = 0;
    const auto standing = [&](const CellPlace& place) {
        const std::uint32_t cell = grid_.CellAt(place);
        if (cell == kNoCell) return false;
        const CellShape& shape = shapes_[cell];
        return !shape.HasNormal() || std::abs(shape.normal[2]) < 0.5F;
    };
    for (std::size_t i = 0; i < cells.size(); i += stride) {
        const CellPlace& at = grid_[cells[i]].place;
        for (const std::int32_t step : {2, 3, 4}) {
            for (std::int32_t x = -1; x <= 1; ++x) {
                for (std::int32_t y = -1; y <= 1; ++y) {
                    above += standing({at[0] + x, at[1] + y, at[2] + step}) ? 1 : 0;
                    below += standing({at[0] + x, at[1] + y, at[2] - step}) ? 1 : 0;
                }
            }
        }
    }
    return below > above;
}

// The share of cells that have others straight above (`way` 1) or below (-1), not too far.
double PlaneJudge::ShareInSight(std::span<const std::uint32_t> cells, std::int32_t way) const {
    const std::size_t stride = 1 + cells.size() / kMostCells;
    double asked = 0, met = 0;
    for (std::size_t i = 0; i < cells.size(); i += stride) {
        const CellPlace& at = grid_[cells[i]].place;
        asked += 1;
        for (std::int32_t step = 3; step <= Reach(); ++step) {
            if (grid_.CellAt({at[0], at[1], at[2] + way * step}) == kNoCell) continue;
            met += 1;
            break;
        }
    }
    return asked > 0 ? met / asked : 0;
}

// Whether the normal points to most of the stations, the near ones counting more.
bool PlaneJudge::Faces(const FoundPlane& plane) const {
    double votes = 0;
    for (const Vector& station : stations_) {
        const Vector to = station - plane.centre;
        const double side = Dot(to, plane.normal);
        votes += side / (1 + Dot(to, to));
    }
    return votes >= 0;
}

void PlaneJudge::Judge(std::span<const std::uint32_t> cells, FoundPlane& plane) const {
    const double upward = std::abs(plane.normal.z);
    bool turn = plane.normal.z < 0;
    if (upward >= kLevel) {
        const bool hangs = HangsFromIt(cells);
        const bool covers = hangs && ShareInSight(cells, -1) > kMostShare;
        plane.kind = covers ? PlaneKind::Ceiling : hangs ? PlaneKind::Roof : PlaneKind::Floor;
        turn = (plane.normal.z < 0) != covers;
    } else if (upward <= kUpright) {
        plane.kind = PlaneKind::Wall;
        turn = Dot(plane.normal, plane.centre - middle_) < 0;
    } else {
        plane.kind = ShareInSight(cells, 1) > kMostShare ? PlaneKind::Other : PlaneKind::Roof;
    }
    if (!stations_.empty()) turn = !Faces(plane);
    if (!turn) return;
    plane.normal = plane.normal * -1;
    plane.offset = -plane.offset;
}

}  // namespace orvix::detection
