// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/cells/cell_shapes.h"

#include <algorithm>
#include <cmath>

namespace orvix::detection {
namespace {

constexpr double kMinPoints = 8;
constexpr double kMaxTurn = 0.05;         // radians: of a normal that a cell has by itself
constexpr double kMaxRatio = 0.35;        // of the least spread to the middle one
constexpr double kMaxThinCellSize = 0.5;  // metres: cells in which the sides of a wall may meet
constexpr double kMaxNoises = 2;          // times the cloud's: rms of a shape found among others

// The shape of points whose narrower spread along the plane is at least `width`.
CellShape ShapeOf(const MomentSum& sum, double width) {
    CellShape shape;
    const double count = sum.count;
    if (count < kMinPoints) return shape;
    const detail::PrincipalSpread spread = SpreadOf(sum.Covariance());
    if (spread.middle < width * width || spread.min > kMaxRatio * kMaxRatio * spread.middle)
        return shape;
    shape.normal = {static_cast<float>(spread.normal.x), static_cast<float>(spread.normal.y),
                    static_cast<float>(spread.normal.z)};
    shape.rms = static_cast<float>(std::sqrt(spread.min * count / (count - 3)));
    shape.turn = static_cast<float>(std::sqrt(spread.min / (spread.middle * count)));
    return shape;
}

CellShape ShapeAround(const TileCells& tile, std::uint32_t cell) {
    MomentSum all;
    for (const std::uint32_t other : tile.Around(cell)) all.Add(tile.Sum(other));
    return ShapeOf(all, 0.3 * tile.Frame().Size());
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
// plane may still be flat: the flattest of them decides the shape.
CellShape ShapeOfFlattest(const TileCells& tile, std::uint32_t cell) {
    const CellPlace home = PlaceOf(tile.Key(cell), {});
    std::array<MomentSum, kPlanes.size()> sums;
    for (const std::uint32_t other : tile.Around(cell)) {
        const CellPlace place = PlaceOf(tile.Key(other), {});
        for (std::size_t i = 0; i < kPlanes.size(); ++i) {
            const auto& [a, b, c] = kPlanes[i];
            if (a * (place[0] - home[0]) + b * (place[1] - home[1]) + c * (place[2] - home[2]) == 0)
                sums[i].Add(tile.Sum(other));
        }
    }
    CellShape best;
    for (const MomentSum& sum : sums) {
        const CellShape shape = ShapeOf(sum, 0.3 * tile.Frame().Size());
        if (shape.HasNormal() && (!best.HasNormal() || shape.rms < best.rms)) best = shape;
    }
    return best;
}

// Whether a cell has so few points that its surroundings decide its shape.
bool LacksPoints(const MomentSum& sum) {
    return sum.count < 4 * kMinPoints;
}

}  // namespace

std::vector<CellShape> ShapesOf(const TileCells& tile) {
    std::vector<CellShape> shapes;
    shapes.reserve(tile.Size());
    const double width = 0.15 * tile.Frame().Size();
    for (std::uint32_t cell = 0; cell < tile.Size(); ++cell) {
        const CellShape shape = ShapeOf(tile.Sum(cell), width);
        const bool lacksPoints =
            shape.HasNormal() ? shape.turn > kMaxTurn : LacksPoints(tile.Sum(cell));
        shapes.push_back(lacksPoints ? ShapeAround(tile, cell) : shape);
    }
    return shapes;
}

void FindThinShapes(const TileCells& tile, double noise, std::vector<CellShape>& shapes) {
    if (tile.Frame().Size() > kMaxThinCellSize) return;
    for (std::uint32_t cell = 0; cell < tile.Size(); ++cell) {
        if (shapes[cell].HasNormal() || !LacksPoints(tile.Sum(cell))) continue;
        const CellShape shape = ShapeOfFlattest(tile, cell);
        if (shape.HasNormal() && shape.rms <= kMaxNoises * noise) shapes[cell] = shape;
    }
}

}  // namespace orvix::detection
