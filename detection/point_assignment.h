// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

#include "detection/gather_cells.h"
#include "detection/region_growth.h"

namespace orvix::detection {

/// Tells the plane of each point: of the planes that pass its cell or one beside it, the nearest,
/// unless it is further than the distance allows.
///
///     PointAssignment assignment(cloud, regions.ofCell, planes, distance);
///     assignment.ForEach(reader, chunkNumber, [](const auto& p, std::uint64_t record, auto plane)
///     {
///         ...
///     });
///
/// Boundaries a point between two planes belongs to the nearer one; equally near ones, to the one
///            with the lower number. kNoRegion for none.
/// Lifetime   borrows what it is given.
/// Threads    ForEach may run side by side, with a reader each.
class PointAssignment {
public:
    PointAssignment(const CellCloud& cloud, const std::vector<std::int32_t>& ofCell,
                    const std::vector<PlaneAt>& planes, double distance)
        : cloud_(cloud), ofCell_(ofCell), planes_(planes), distance_(distance) {}

    /// False where the points cannot be mapped.
    template <class Use>
    [[nodiscard]] bool ForEach(CAlivePointReader& reader, std::size_t chunk, Use&& use) const {
        CellNumbering numbering(cloud_.grid.Frame());
        const CellFrame& frame = cloud_.grid.Frame();
        Candidates candidates;
        std::uint64_t record = cloud_.chunks[chunk].first;
        return ForEachPoint(reader, cloud_.chunks[chunk], [&](const CCloudPoint<float>& p) {
            bool isNew = false;
            const std::uint32_t number = numbering.NumberOf(frame.PlaceOf(p), isNew);
            if (isNew) Gather(cloud_.firstCell[chunk] + number, candidates);
            use(p, record++, Nearest(p, candidates, number));
        });
    }

private:
    struct Candidates {
        std::vector<std::uint32_t> first;  // of each cell of the chunk, in `planes`; and the end
        std::vector<std::int32_t> planes;
    };

    void Gather(std::uint32_t cell, Candidates& candidates) const;

    [[nodiscard]] std::int32_t Nearest(const CCloudPoint<float>& p, const Candidates& candidates,
                                       std::uint32_t number) const {
        std::int32_t best = kNoRegion;
        double least = distance_;
        for (std::uint32_t i = candidates.first[number]; i < candidates.first[number + 1]; ++i) {
            const std::int32_t plane = candidates.planes[i];
            const double signedAway =
                planes_[static_cast<std::size_t>(plane)].Distance({p.x, p.y, p.z});
            const double away = signedAway < 0 ? -signedAway : signedAway;
            if (away > least || (away == least && best != kNoRegion)) continue;
            best = plane;
            least = away;
        }
        return best;
    }

    const CellCloud& cloud_;
    const std::vector<std::int32_t>& ofCell_;
    const std::vector<PlaneAt>& planes_;
    double distance_;
};

}  // namespace orvix::detection
