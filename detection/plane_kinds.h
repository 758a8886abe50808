// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>
#include <vector>

#include "detection/plane_search.h"

namespace orvix::detection {

/// Tells what a plane is, and to which side its normal points, as PlaneSearch promises.
class PlaneJudge {
public:
    PlaneJudge(const CellGrid& grid, const std::vector<CellShape>& shapes,
               const std::vector<Vector>& stations);

    /// Sets kind, normal and offset; `cells` are the plane's.
    void Judge(std::span<const std::uint32_t> cells, FoundPlane& plane) const;

private:
    [[nodiscard]] bool HangsFromIt(std::span<const std::uint32_t> cells) const;
    [[nodiscard]] double ShareInSight(std::span<const std::uint32_t> cells, std::int32_t way) const;
    [[nodiscard]] std::int32_t Reach() const;
    [[nodiscard]] bool Faces(const FoundPlane& plane) const;

    const CellGrid& grid_;
    const std::vector<CellShape>& shapes_;
    const std::vector<Vector>& stations_;
    Vector middle_;  // of the cells
};

}  // namespace orvix::detection
