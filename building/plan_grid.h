// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "building/building.h"

namespace orvix::building {

/// Squares over a plan, row by row from the least x and y.
///
/// Units  metres. Cell (i, j) is from origin.x + i * cell to origin.x + (i + 1) * cell, as in y.
struct PlanGrid {
    PlanPoint origin;
    double cell = 0;
    std::int64_t columns = 0;
    std::int64_t rows = 0;

    /// Covers a bound and `margin` around it; squares grow beyond `cell` where there were more than
    /// `most` of them.
    static PlanGrid Over(const PlanPoint& low, const PlanPoint& high, double cell, double margin,
                         double most);

    [[nodiscard]] std::size_t Size() const { return static_cast<std::size_t>(columns * rows); }
    [[nodiscard]] std::size_t At(std::int64_t i, std::int64_t j) const {
        return static_cast<std::size_t>(j * columns + i);
    }
    [[nodiscard]] PlanPoint Middle(std::int64_t i, std::int64_t j) const {
        return {origin.x + (static_cast<double>(i) + 0.5) * cell,
                origin.y + (static_cast<double>(j) + 0.5) * cell};
    }
    [[nodiscard]] std::int64_t Column(double x) const { return Cell(x - origin.x, columns); }
    [[nodiscard]] std::int64_t Row(double y) const { return Cell(y - origin.y, rows); }
    [[nodiscard]] bool Holds(const PlanPoint& p) const {
        return p.x >= origin.x && p.y >= origin.y &&
               p.x < origin.x + static_cast<double>(columns) * cell &&
               p.y < origin.y + static_cast<double>(rows) * cell;
    }

private:
    [[nodiscard]] std::int64_t Cell(double away, std::int64_t count) const {
        return std::clamp(static_cast<std::int64_t>(std::floor(away / cell)), std::int64_t{0},
                          count - 1);
    }
};

/// Hands over the cells whose middles lie inside rings, by the even-odd rule.
void ForEachInside(const PlanGrid& grid, std::span<const PlanRing> rings,
                   const std::function<void(std::int64_t, std::int64_t)>& use);

/// Square metres inside a ring: negative where it runs clockwise.
double AreaOf(const PlanRing& ring);

}  // namespace orvix::building
