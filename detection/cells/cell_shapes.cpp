// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/cells/cell_shapes.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "orvix/platform/asker.h"

namespace orvix::detection {
namespace {

constexpr std::uint32_t kCellsPerQuestion = 16384;  // some milliseconds
constexpr double kMinPoints = 8;
constexpr double kMaxTurn = 0.05;  // radians: of a normal that a cell has by itself
constexpr double kMaxSliced = 3;  // rms of a surface to a slice's: half of noise, 1.66; its tail, 3
constexpr double kMaxWhole = 1.3;         // rms of such a surface to that of its surroundings
constexpr double kMinCosine = 0.94;       // of the angle between the two
constexpr double kMaxRatio = 0.35;        // of the least spread to the middle one
constexpr double kMaxThinCellSize = 0.5;  // metres: cells in which the sides of a wall may meet
constexpr double kAnyRms = std::numeric_limits<double>::infinity();
constexpr double kMargin = 1.01;  // for the rounding of variances
constexpr double kMaxNoises = 2;  // times the cloud's: rms of a shape found among others

// The shape of points whose narrower spread along the plane is at least `width`. Above `maxRms` it
// may be none.
CellShape ShapeOf(const MomentSum& sum, double width, double maxRms = kAnyRms) {
    CellShape shape;
    const double count = sum.count;
    if (count < kMinPoints) return shape;
    const SymmetricMatrix covariance = sum.Covariance();
    // The middle variance is at most half of all: narrow and round heaps need no closer look.
    const double most = kMargin * (covariance.xx + covariance.yy + covariance.zz) / 2;
    if (most < width * width) return shape;
    const double floor = VarianceFloor(covariance);
    if (floor > kMargin * kMaxRatio * kMaxRatio * most || floor > kMargin * maxRms * maxRms)
        return shape;
    const detail::PrincipalSpread spread = SpreadOf(covariance);
    if (spread.middle < width * width || spread.min > kMaxRatio * kMaxRatio * spread.middle)
        return shape;
    shape.normal = {static_cast<float>(spread.normal.x), static_cast<float>(spread.normal.y),
                    static_cast<float>(spread.normal.z)};
    shape.rms = static_cast<float>(std::sqrt(spread.min * count / (count - 3)));
    shape.turn = static_cast<float>(std::sqrt(spread.min / (spread.middle * count)));
    return shape;
}

// Calls use(cell) for the cells on both sides of a cell along an axis.
template <class Use>
void ForBothSides(const TileCells& tile, std::uint32_t cell, std::size_t axis, Use&& use) {
    constexpr std::array<TileKey, 3> kSteps{kKeyX, kKeyY, 1};
    const TileKey key = tile.Key(cell);
    for (const std::uint32_t other : tile.Around(cell))
        if (tile.Key(other) == key + kSteps[axis] || key == tile.Key(other) + kSteps[axis])
            use(other);
}

std::uint8_t AxisNextTo(const CellShape& shape) {
    std::uint8_t axis = 0;
    for (std::uint8_t i = 1; i < 3; ++i)
        if (std::abs(shape.normal[i]) > std::abs(shape.normal[axis])) axis = i;
    return axis;
}

// A cell's shape together with the cells on both sides of it, where these make one surface.
CellShape WholeShape(const TileCells& tile, std::uint32_t cell, const CellShape& own,
                     double width) {
    CellShape sliced = own;
    sliced.slicedAlong = static_cast<std::uint8_t>(AxisNextTo(own) + 1);
    const MomentSum sum = SumOfSurface(tile, cell, sliced);
    if (sum.count == tile.Sum(cell).count) return own;
    CellShape whole = ShapeOf(sum, width, kMaxSliced * own.rms);
    if (!whole.HasNormal() || whole.rms > kMaxSliced * own.rms ||
        std::abs(Dot(whole.Normal(), own.Normal())) < kMinCosine)
        return own;
    whole.slicedAlong = sliced.slicedAlong;
    return whole;
}

CellShape ShapeAround(const TileCells& tile, std::uint32_t cell) {
    MomentSum all;
    for (const std::uint32_t other : tile.Around(cell)) all.Add(tile.Sum(other));
    CellShape shape = ShapeOf(all, 0.3 * tile.Frame().Size());
    if (!shape.HasNormal()) return shape;
    CellShape sliced = shape;
    sliced.slicedAlong = static_cast<std::uint8_t>(AxisNextTo(shape) + 1);
    const MomentSum sum = SumOfSurface(tile, cell, sliced);
    if (sum.count == tile.Sum(cell).count) return shape;
    const double most = kMaxWhole * shape.rms;
    return QuadraticForm(sum.Covariance(), shape.Normal()) <= most * most ? sliced : shape;
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
// One whose rms is above `maxRms` is none.
CellShape ShapeOfFlattest(const TileCells& tile, std::uint32_t cell, double maxRms) {
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
        const CellShape shape = ShapeOf(sum, 0.3 * tile.Frame().Size(), maxRms);
        if (shape.HasNormal() && shape.rms <= maxRms && (!best.HasNormal() || shape.rms < best.rms))
            best = shape;
    }
    return best;
}

// Whether a cell has so few points that its surroundings decide its shape.
bool LacksPoints(const MomentSum& sum) {
    return sum.count < 4 * kMinPoints;
}

}  // namespace

MomentSum SumOfSurface(const TileCells& tile, std::uint32_t cell, const CellShape& shape) {
    MomentSum sum = tile.Sum(cell);
    if (shape.slicedAlong != 0)
        ForBothSides(tile, cell, shape.slicedAlong - 1U,
                     [&](std::uint32_t other) { sum.Add(tile.Sum(other)); });
    return sum;
}

std::vector<CellShape> ShapesOf(const TileCells& tile, const std::function<bool()>& proceed) {
    detail::Asker asker(proceed, kCellsPerQuestion);
    std::vector<CellShape> shapes;
    shapes.reserve(tile.Size());
    const double width = 0.15 * tile.Frame().Size();
    for (std::uint32_t cell = 0; cell < tile.Size() && asker.GoesOn(); ++cell) {
        const CellShape shape = ShapeOf(tile.Sum(cell), width);
        const bool lacksPoints =
            shape.HasNormal() ? shape.turn > kMaxTurn : LacksPoints(tile.Sum(cell));
        if (lacksPoints) {
            shapes.push_back(ShapeAround(tile, cell));
        } else {
            shapes.push_back(shape.HasNormal() ? WholeShape(tile, cell, shape, width) : shape);
            shapes.back().own = true;
        }
    }
    shapes.resize(tile.Size());  // after a no, too
    return shapes;
}

void FindThinShapes(const TileCells& tile, double noise, std::vector<CellShape>& shapes,
                    const std::function<bool()>& proceed) {
    detail::Asker asker(proceed, kCellsPerQuestion);
    if (tile.Frame().Size() > kMaxThinCellSize) return;
    for (std::uint32_t cell = 0; cell < tile.Size() && asker.GoesOn(); ++cell) {
        if (shapes[cell].HasNormal() || !LacksPoints(tile.Sum(cell))) continue;
        const CellShape shape = ShapeOfFlattest(tile, cell, kMaxNoises * noise);
        if (shape.HasNormal()) shapes[cell] = shape;
    }
}

}  // namespace orvix::detection
