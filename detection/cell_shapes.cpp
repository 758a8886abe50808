// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/cell_shapes.h"

#include <algorithm>
#include <cmath>

namespace orvix::detection {
namespace {

constexpr std::size_t kCellsAJob = 4096;
constexpr double kLeastPoints = 8;
constexpr double kMostTurn = 0.05;   // of a normal that a cell tells by itself, radians
constexpr double kMostRatio = 0.35;  // of the least spread to the middle one
constexpr double kMostThin = 0.5;    // metres: cells in which the sides of a wall may meet
constexpr double kMostNoise = 2;     // times the cloud's: rms of a shape found among others

// The shape that points tell, whose narrower spread along the plane is at least `width`.
CellShape ShapeOf(double count, const Symmetric& covariance, double width) {
    CellShape shape;
    if (count < kLeastPoints) return shape;
    const Spread spread = SpreadOf(covariance);
    if (spread.middle < width * width || spread.least > kMostRatio * kMostRatio * spread.middle)
        return shape;
    shape.normal = {static_cast<float>(spread.normal.x), static_cast<float>(spread.normal.y),
                    static_cast<float>(spread.normal.z)};
    shape.rms = static_cast<float>(std::sqrt(spread.least * count / (count - 3)));
    shape.turn = static_cast<float>(std::sqrt(spread.least / (spread.middle * count)));
    return shape;
}

/// The points of a cell and of those beside it, relative to the cell's middle.
struct Surroundings {
    std::array<std::uint32_t, 27> cells;
    std::array<MomentSum, 27> sums;

    Surroundings(const CellGrid& grid, std::uint32_t cell) {
        grid.Around(cell, cells);
        const double size = grid.Frame().Size();
        std::size_t at = 0;
        for (int x = -1; x <= 1; ++x) {
            for (int y = -1; y <= 1; ++y) {
                for (int z = -1; z <= 1; ++z, ++at) {
                    if (cells[at] == kNoCell) continue;
                    const Cell& other = grid[cells[at]];
                    sums[at].Add(other.count, other.Mean() + Vector{x * size, y * size, z * size},
                                 other.Covariance());
                }
            }
        }
    }
};

CellShape ShapeAround(const CellGrid& grid, std::uint32_t cell) {
    MomentSum all;
    for (const MomentSum& sum : Surroundings(grid, cell).sums) all.Add(sum);
    return ShapeOf(all.count, all.Covariance(), 0.3 * grid.Frame().Size());
}

// The digital planes through the middle of 27 cells: three level with the axes, six across them.
// Each names the cells with a x + b y + c z = 0.
constexpr std::array<std::array<int, 3>, 9> kPlanes{{{1, 0, 0},
                                                     {0, 1, 0},
                                                     {0, 0, 1},
                                                     {1, 1, 0},
                                                     {1, -1, 0},
                                                     {1, 0, 1},
                                                     {1, 0, -1},
                                                     {0, 1, 1},
                                                     {0, 1, -1}}};

// Where other surfaces pass close by, such as the far side of a thin wall, the cells of one digital
// plane may still be flat: the flattest of them tells the shape.
CellShape ShapeOfFlattest(const CellGrid& grid, std::uint32_t cell) {
    const Surroundings around(grid, cell);
    CellShape best;
    for (const auto& [a, b, c] : kPlanes) {
        MomentSum sum;
        std::size_t at = 0;
        for (int x = -1; x <= 1; ++x)
            for (int y = -1; y <= 1; ++y)
                for (int z = -1; z <= 1; ++z, ++at)
                    if (a * x + b * y + c * z == 0 && around.cells[at] != kNoCell)
                        sum.Add(around.sums[at]);
        if (sum.count < kLeastPoints) continue;
        const CellShape shape = ShapeOf(sum.count, sum.Covariance(), 0.3 * grid.Frame().Size());
        if (shape.HasNormal() && (!best.HasNormal() || shape.rms < best.rms)) best = shape;
    }
    return best;
}

// Whether so few points leave a cell's shape to its surroundings.
bool AsksAround(const Cell& cell) {
    return cell.count < 4 * kLeastPoints;
}

template <class Use>
Expected<void> ForCells(const CellGrid& grid, const WorkTeam& team, Use&& use) {
    const std::size_t jobs = (grid.Size() + kCellsAJob - 1) / kCellsAJob;
    return team.Run(jobs, [&](std::size_t job, unsigned) -> Expected<void> {
        const std::size_t end = std::min<std::size_t>(grid.Size(), (job + 1) * kCellsAJob);
        for (std::size_t i = job * kCellsAJob; i < end; ++i) use(static_cast<std::uint32_t>(i));
        return {};
    });
}

}  // namespace

Expected<std::vector<CellShape>> ShapesOf(const CellGrid& grid, const WorkTeam& team) {
    std::vector<CellShape> shapes(grid.Size());
    const double size = grid.Frame().Size();
    auto done = ForCells(grid, team, [&](std::uint32_t cell) {
        const Cell& its = grid[cell];
        CellShape shape = ShapeOf(its.count, its.Covariance(), 0.15 * size);
        const bool asksAround = shape.HasNormal() ? shape.turn > kMostTurn : AsksAround(its);
        shapes[cell] = asksAround ? ShapeAround(grid, cell) : shape;
    });
    if (!done) return tl::unexpected<Error>(done.error());
    return shapes;
}

Expected<void> FindThinShapes(const CellGrid& grid, const WorkTeam& team, double noise,
                              std::vector<CellShape>& shapes) {
    if (grid.Frame().Size() > kMostThin) return {};
    return ForCells(grid, team, [&](std::uint32_t cell) {
        if (shapes[cell].HasNormal() || !AsksAround(grid[cell])) return;
        const CellShape shape = ShapeOfFlattest(grid, cell);
        if (shape.HasNormal() && shape.rms <= kMostNoise * noise) shapes[cell] = shape;
    });
}

double NoiseOf(const std::vector<CellShape>& shapes) {
    std::vector<float> values;
    for (const CellShape& shape : shapes)
        if (shape.HasNormal() && shape.rms > 0) values.push_back(shape.rms);
    if (values.empty()) return 0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

}  // namespace orvix::detection
