// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>

namespace orvix::importer {

/// Estimates the density of points on a scan's surfaces from the points in each 100 cm cell.
///
/// A surface that crosses a cubic metre has about a square metre in it, so the points of a cell are
/// about its points per square metre. The density is the median over the points: half of all
/// points lie in cells of at least this many.
///
/// Cost  counts above 4096 are kept to 12 bits, so memory is bounded.
class SurfaceDensity {
public:
    void AddCell(std::uint32_t points) { cells_[Rounded(points)] += points; }
    using Cells =
        std::map<std::uint32_t, std::uint64_t>;  // points per cell -> points in such cells
    [[nodiscard]] const Cells& All() const { return cells_; }
    /// Adds what another counted.
    void Join(const Cells& cells) {
        for (const auto& [points, sum] : cells) cells_[points] += sum;
    }
    /// Points per square metre; 0 without points.
    [[nodiscard]] double Median() const;

private:
    static std::uint32_t Rounded(std::uint32_t points);

    Cells cells_;
};

/// The plane search's base step for a density.
///
/// The neighbourhood of a default split (four steps) is a disc of two steps' radius, and is to hold
/// 20 points.
///
/// Boundaries 0.025 m to 2.5 m, to the nearest half centimetre; 0.1 m for a density of 0.
double BaseStep(double pointsPerSquareMetre);

}  // namespace orvix::importer
