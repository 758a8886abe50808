// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cmath>
#include <cstdint>
#include <span>
#include <vector>

#include "detection/cells/cell_runs.h"
#include "detection/regions/grow_tiles.h"
#include "detection/regions/plane_choices.h"

namespace orvix::detection {

/// A plane as the points with normal . p = height, project frame, and how far from it its points
/// lie at most.
struct PlaneHeight {
    Vector normal;
    double height = 0;
    double reach = 0;

    [[nodiscard]] double Distance(const Vector& p) const { return Dot(normal, p) - height; }
};

/// Tells the plane of each point: of the planes that pass its cell or one beside it, the nearest,
/// unless it is further than that one's reach.
///
///     PointAssignment assignment(cut, grown, choices, planes);
///     assignment.ForEach(reader, chunk, [](const auto& p, std::uint64_t record, auto plane) {
///         ...
///     });
///
/// Boundaries a point between two planes belongs to the nearer one; equally near ones, to the one
///            with the lower number. kNoRegion for none.
/// Lifetime   borrows what it is given.
/// Threads    ForEach may run side by side, with a reader each.
class PointAssignment {
public:
    PointAssignment(const PointChunks& cut, const GrownTiles& grown, const PlaneChoices& choices,
                    const std::vector<PlaneHeight>& planes)
        : cut_(cut), grown_(grown), choices_(choices), planes_(planes) {}

    /// False where the points cannot be mapped.
    template <class Use>
    [[nodiscard]] bool ForEach(CAlivePointReader& reader, std::size_t chunk, Use&& use) const {
        CellNumbering numbering(grown_.map.Frame());
        std::span<const std::int32_t> choice;
        std::uint64_t record = cut_.chunks[chunk].first;
        return ForEachPoint(reader, cut_.chunks[chunk], [&](const CCloudPoint<float>& p) {
            const bool placed = numbering.Stays(p) || CellFrame::Holds(p);
            if (!numbering.Stays(p) && placed) choice = ChoiceOf(chunk, numbering.NumberOf(p));
            use(p, record++, placed ? Nearest({p.x, p.y, p.z}, choice) : kNoRegion);
        });
    }
    /// The same in stretches: use(points, choice) for points of one cell and the planes that each
    /// of them may belong to, as Nearest tells.
    template <class Use>
    [[nodiscard]] bool ForEachRun(CAlivePointReader& reader, std::size_t chunk, Use&& use) const {
        CellNumbering numbering(grown_.map.Frame());
        return ForEachCellRun(reader, cut_.chunks[chunk], numbering,
                              [&](std::span<const CCloudPoint<float>> points, std::uint32_t cell) {
                                  use(points, ChoiceOf(chunk, cell));
                              });
    }
    /// The plane of a point among those it may belong to. `within` false: however far.
    [[nodiscard]] std::int32_t Nearest(const Vector& p, std::span<const std::int32_t> choice,
                                       bool within = true) const {
        std::int32_t best = kNoRegion;
        double smallest = 0;
        for (const std::int32_t plane : choice) {
            const PlaneHeight& its = planes_[static_cast<std::size_t>(plane)];
            const double away = std::abs(its.Distance(p));
            if (within && away > its.reach) continue;
            if (best != kNoRegion && away >= smallest) continue;
            best = plane;
            smallest = away;
        }
        return best;
    }
    /// The plane of a point at a place. `within` false: the nearest one, however far.
    [[nodiscard]] std::int32_t At(const Vector& place, bool within = true) const;

private:
    // Points that have moved since they were read first may meet cells that are not there.
    [[nodiscard]] std::span<const std::int32_t> ChoiceOf(std::size_t chunk,
                                                         std::uint32_t number) const {
        const std::size_t tile = cut_.chunks[chunk].tile;
        const std::uint64_t met = std::uint64_t{grown_.firstNumber[chunk]} + number;
        if (number == kNoCell || met >= grown_.map.CellsIn(tile)) return {};
        return choices_.At(tile, grown_.map.CellOfNumber(tile, static_cast<std::uint32_t>(met)));
    }
    const PointChunks& cut_;
    const GrownTiles& grown_;
    const PlaneChoices& choices_;
    const std::vector<PlaneHeight>& planes_;
};

}  // namespace orvix::detection
