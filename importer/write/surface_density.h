// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>

namespace orvix::importer {

/// The density of points on a scan's surfaces, from the points in each occupied 100 cm cell.
///
/// A surface that crosses a cubic metre shows about a square metre of itself, so the points of a
/// cell are about its points a square metre. The density is the median over the points: half of
/// all points lie in cells of at least this many.
///
/// Cost  counts above 4096 are kept to 12 bits, so memory is bounded.
class SurfaceDensity {
public:
    void AddCell(std::uint32_t points) { cells_[Rounded(points)] += points; }
    /// Points a square metre; 0 without points.
    [[nodiscard]] double Median() const;

private:
    static std::uint32_t Rounded(std::uint32_t points);

    std::map<std::uint32_t, std::uint64_t> cells_;  // points a cell -> points in such cells
};

/// The plane search's base step for a density: the neighbourhood that a default split (four
/// steps) looks at is a disc of two steps' radius, and is to hold 20 points. Between 0.025 m and
/// 2.5 m, to the nearest half centimetre; 0.1 m for a density of 0.
double BaseStep(double pointsPerSquareMetre);

}  // namespace orvix::importer
