// SPDX-License-Identifier: GPL-3.0-or-later
#include "building/slabs/find_slabs.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "building/grid_parts.h"
#include "building/plan_length.h"

namespace orvix::building {
namespace {

constexpr double kFaceRange = 0.35;  // of a face around its storey's level
constexpr double kThickestRoof = 1.5;
constexpr double kLeastSlab = 4;  // square metres
constexpr double kLeastSure = 0.001;

/// Cells of slabs: all that walls and rooms take or enclose, without stairwells and galleries, which a
/// roof does not have.
RoomCells SlabCells(const RoomCells& storey, bool roof) {
    RoomCells cells = storey;
    std::vector<std::uint8_t> beside(cells.rooms.size());
    for (std::size_t at = 0; at < beside.size(); ++at)
        beside[at] = storey.rooms[at] < 0 && storey.kinds[at] != RoomCells::kWall;
    const Parts outer = PartsOf(cells.grid, beside);
    const std::vector<bool> rim = RimParts(cells.grid, outer);
    std::vector<std::uint8_t> inside(beside.size());
    for (std::size_t at = 0; at < inside.size(); ++at) {
        const bool within = outer.part[at] < 0 || !rim[static_cast<std::size_t>(outer.part[at])];
        inside[at] = within && (roof || storey.openBelow[at] == RoomCells::kClosed);
    }
    Parts parts = PartsOf(cells.grid, inside);
    cells.rooms = std::move(parts.part);
    cells.count = parts.sizes.size();
    std::fill(cells.kinds.begin(), cells.kinds.end(), RoomCells::kFree);
    cells.FindBoxes();
    return cells;
}

std::vector<PlanRegion> RegionsOf(const StoreyPlan& plan, bool roof) {
    const RoomCells cells = SlabCells(plan.cells, roof);
    std::vector<BoundLine> lines = plan.lines;
    for (const BoundLine& line : plan.lines)
        lines.push_back(
            {{-line.normal.x, -line.normal.y}, -line.offset, -line.end, -line.begin, line.wall});
    std::vector<PlanRegion> regions;
    for (std::size_t k = 0; k < cells.count; ++k) {
        const auto number = static_cast<std::int32_t>(k);
        const double area =
            static_cast<double>(cells.BoxOf(number).cells) * cells.grid.cell * cells.grid.cell;
        if (area < kLeastSlab) continue;
        if (auto drawn = DrawRoom(cells, number, lines))
            regions.push_back(std::move(drawn->region));
    }
    return regions;
}

/// The level faces at about a height, and their height.
struct Faces {
    std::vector<std::size_t> planes;
    double height = 0;
    double area = 0;
};

Faces FacesBetween(const std::vector<LevelPlane>& list, const RoomCells& cells, double low,
                   double high) {
    Faces faces;
    std::vector<std::pair<double, double>> heights;  // and areas
    const double square = cells.grid.cell * cells.grid.cell;
    for (const LevelPlane& face : list) {
        const double z = face.HeightAt(face.rings[0][0]);
        if (z < low || z > high || cells.grid.Size() == 0) continue;
        std::size_t inside = 0;
        ForEachInside(cells.grid, face.rings, [&](std::int64_t i, std::int64_t j) {
            inside += cells.rooms[cells.grid.At(i, j)] >= 0;
        });
        if (inside == 0) continue;
        faces.planes.push_back(face.plane);
        heights.emplace_back(z, static_cast<double>(inside) * square);
        faces.area += heights.back().second;
    }
    std::sort(heights.begin(), heights.end());
    double sum = 0;
    for (const auto& [z, area] : heights) {
        sum += area;
        if (sum * 2 >= faces.area) {
            faces.height = z;
            break;
        }
    }
    return faces;
}

class SlabFinder {
public:
    SlabFinder(const std::vector<Storey>& storeys, const std::vector<StoreyPlan>& plans,
               const LevelPlanes& levels, const PlaneEvidence& planes)
        : storeys_(storeys), plans_(plans), levels_(levels), planes_(planes) {}

    std::vector<Slab> Find() {
        for (std::size_t s = 0; s < storeys_.size(); ++s) {
            const double floor = storeys_[s].elevation;
            Faces below;
            if (s > 0)
                below = FacesBetween(levels_.ceilings, plans_[s - 1].cells,
                                     storeys_[s - 1].ceiling - kFaceRange, floor - 0.02);
            Add(s, plans_[s],
                FacesBetween(levels_.floors, plans_[s].cells, floor - kFaceRange,
                             floor + kFaceRange),
                below, false);
        }
        if (!storeys_.empty()) AddRoof(storeys_.size() - 1);
        return std::move(slabs_);
    }

private:
    void AddRoof(std::size_t s) {
        const double ceiling = storeys_[s].ceiling;
        const Faces below = FacesBetween(levels_.ceilings, plans_[s].cells, ceiling - kFaceRange,
                                         ceiling + kFaceRange);
        if (below.area < kLeastSlab) return;
        Add(s, plans_[s],
            FacesBetween(levels_.floors, plans_[s].cells, ceiling + 0.02, ceiling + kThickestRoof),
            below, true);
    }
    void Add(std::size_t s, const StoreyPlan& plan, const Faces& upper, const Faces& lower,
             bool roof) {
        Slab slab;
        slab.storey = s;
        if (upper.area < kLeastSlab && lower.area < kLeastSlab) return;
        slab.regions = RegionsOf(plan, roof);
        if (slab.regions.empty()) return;
        const auto sure = [&](const Faces& faces) {
            return std::max(kLeastSure, planes_.Scatter(faces.planes));
        };
        const auto measure = [](double value, double slack) {
            return Measure{value, value - slack, value + slack};
        };
        if (upper.area >= kLeastSlab) slab.top = measure(upper.height, sure(upper));
        if (lower.area >= kLeastSlab) slab.bottom = measure(lower.height, sure(lower));
        if (slab.top && slab.bottom)
            slab.thickness =
                measure(upper.height - lower.height, PlanLength(sure(upper), sure(lower)));
        std::vector<std::size_t> used = upper.planes;
        used.insert(used.end(), lower.planes.begin(), lower.planes.end());
        slab.evidence = planes_.Of(std::move(used));
        double area = 0;
        for (const PlanRegion& region : slab.regions) {
            area += AreaOf(region.outer);
            for (const PlanRing& hole : region.holes) area += AreaOf(hole);
        }
        const double faces = (slab.top ? 1 : 0) + (slab.bottom ? 1 : 0);
        slab.evidence.seen = std::min(1.0, (upper.area + lower.area) / (faces * area));
        if (!slab.thickness) slab.evidence.inferred |= kOtherSide;
        slabs_.push_back(std::move(slab));
    }

    const std::vector<Storey>& storeys_;
    const std::vector<StoreyPlan>& plans_;
    const LevelPlanes& levels_;
    const PlaneEvidence& planes_;
    std::vector<Slab> slabs_;
};

}  // namespace

std::vector<Slab> FindSlabs(const std::vector<Storey>& storeys,
                            const std::vector<StoreyPlan>& plans, const LevelPlanes& levels,
                            const PlaneEvidence& planes) {
    return SlabFinder(storeys, plans, levels, planes).Find();
}

}  // namespace orvix::building
