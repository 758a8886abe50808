// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/growth/loose_points.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "detection/cells/cell_runs.h"

namespace orvix::detection {
namespace {

constexpr double kSpecksPerCell = 10;  // along an axis
constexpr double kSpeckNoises = 5;     // times the noise: what a speck is at least
constexpr double kMinSpecksPerCell = 2;
constexpr std::size_t kMaxSpecks = std::size_t{1} << 18;  // of a tile: some 60 MB with neighbours
constexpr double kTail = 1.6;  // times a region's reach: what lies beyond is no noise of it

std::uint64_t KeyOf(const Vector& place, double perMetre) {
    constexpr double kMiddle = 1 << 20;
    const auto at = [&](double value) {
        return static_cast<std::uint64_t>(
            std::clamp(value * perMetre + kMiddle, 0.0, 2 * kMiddle - 1));
    };
    return at(place.x) << 42 | at(place.y) << 21 | at(place.z);
}

/// Gathers loose points into specks.
class SpeckGatherer {
public:
    SpeckGatherer(double noise, double cellSize)
        : perMetre_(1 / std::max(cellSize / kSpecksPerCell, kSpeckNoises * noise)),
          minPerMetre_(kMinSpecksPerCell / cellSize) {}

    /// `place` is about the tile's middle.
    void Add(const Vector& place, std::uint32_t cell) {
        points_.push_back({KeyOf(place, perMetre_), place, cell});
    }
    /// Makes specks of the points so far. Where the tile has too many of them for the memory that a
    /// tile may take, as a dense scan of a hedge has, all become twice as wide.
    void GatherPoints() {
        std::stable_sort(points_.begin(), points_.end(),
                         [](const Loose& a, const Loose& b) { return a.key < b.key; });
        for (std::size_t i = 0; i < points_.size();) {
            Speck speck;
            speck.cell = points_[i].cell;
            const std::uint64_t key = points_[i].key;
            for (; i < points_.size() && points_[i].key == key; ++i) {
                speck.sum.Add(points_[i].place);
                speck.box.Add(points_[i].place);
            }
            specks_.push_back(speck);
        }
        points_.clear();
        while (specks_.size() > kMaxSpecks && perMetre_ >= 2 * minPerMetre_) Widen();
    }
    [[nodiscard]] std::vector<Speck> TakeSpecks() { return std::move(specks_); }

private:
    // Puts the specks of a cell together that lie in one place twice as wide.
    void Widen() {
        perMetre_ /= 2;
        std::vector<std::pair<std::uint64_t, std::uint32_t>> order;
        for (std::uint32_t i = 0; i < specks_.size(); ++i)
            order.emplace_back(KeyOf(specks_[i].sum.Mean(), perMetre_), i);
        std::sort(order.begin(), order.end());
        std::vector<Speck> wide;
        std::uint64_t last = 0;
        for (const auto& [key, i] : order) {
            if (wide.empty() || key != last || wide.back().cell != specks_[i].cell) {
                wide.push_back(specks_[i]);
            } else {
                wide.back().sum.Add(specks_[i].sum);
                wide.back().box.Add(specks_[i].box);
            }
            last = key;
        }
        specks_ = std::move(wide);
    }

    struct Loose {
        std::uint64_t key = 0;
        Vector place;
        std::uint32_t cell = 0;
    };

    double perMetre_;     // specks along an axis
    double minPerMetre_;  // where they are as wide as may be
    std::vector<Loose> points_;
    std::vector<Speck> specks_;
};

/// Separates the points of a tile that its regions explain from those that are loose.
class LooseFilter {
public:
    LooseFilter(const TileCells& cells, const Regions& grown, const GrowthLimits& limits)
        : cells_(cells), grown_(grown) {
        for (const Region& region : grown.regions)
            reaches_.push_back(kTail * ReachOf(region, limits));
    }

    /// Turns to a cell; false where all its points are explained.
    [[nodiscard]] bool TurnTo(std::uint32_t cell) {
        regions_.clear();
        std::int32_t last = kNoRegion;
        for (const std::uint32_t other : cells_.Around(cell)) {
            const std::int32_t region = grown_.ofCell[other];
            if (region == last) continue;  // mostly
            last = region;
            if (region != kNoRegion &&
                std::find(regions_.begin(), regions_.end(), region) == regions_.end())
                regions_.push_back(region);
        }
        return regions_.size() != 1 || grown_.ofCell[cell] != regions_[0] ||
               !LieOn(cell, regions_[0]);
    }
    /// Whether a region of the cell, or of one around it, explains a point. BEHAVIOUR A15
    [[nodiscard]] bool Explains(const Vector& at) const {
        return std::any_of(regions_.begin(), regions_.end(), [&](std::int32_t region) {
            const auto number = static_cast<std::size_t>(region);
            return std::abs(grown_.regions[number].plane.Distance(at)) <= reaches_[number];
        });
    }

private:
    // Whether a cell's points spread about a region's plane by a quarter of its reach at most.
    [[nodiscard]] bool LieOn(std::uint32_t cell, std::int32_t region) const {
        const auto number = static_cast<std::size_t>(region);
        const PlaneAt& plane = grown_.regions[number].plane;
        const MomentSum& sum = cells_.Sum(cell);
        const double height = Dot(plane.normal, plane.centre - cells_.Middle());
        const double squares = QuadraticForm(sum.squares, plane.normal) -
                               height * (2 * Dot(plane.normal, sum.sum) - height * sum.count);
        return 16 * squares <= reaches_[number] * reaches_[number] * sum.count;
    }

    const TileCells& cells_;
    const Regions& grown_;
    std::vector<double> reaches_;
    std::vector<std::int32_t> regions_;  // around the cell at work
};

/// Cells of a chunk that follow each other, to be read.
struct Stretch {
    PointChunk points;
    std::uint32_t firstCell = 0;  // number in the chunk
};

// The stretches of a chunk's cells that may hold loose points. Where cells are larger than the
// project's own, one is stored in several places: then the whole chunk.
std::vector<Stretch> StretchesOf(const PointChunks& cut, std::uint32_t number,
                                 std::span<const std::uint32_t> cells, const TileCells& tile,
                                 LooseFilter& filter) {
    const PointChunk& chunk = cut.chunks[number];
    if (cut.frame.Size() > CellFrame::kSizes[0]) return {{chunk, 0}};
    std::vector<Stretch> stretches;
    std::uint64_t at = 0;
    for (std::uint32_t i = 0; i < cells.size() && at < chunk.count; ++i) {
        const auto count = static_cast<std::uint64_t>(tile.Sum(cells[i]).count);
        if (filter.TurnTo(cells[i])) {
            const std::uint64_t first = chunk.first + at;
            if (stretches.empty() ||
                stretches.back().points.first + stretches.back().points.count != first)
                stretches.push_back({{first, 0, chunk.tile}, i});
            stretches.back().points.count += std::min(count, chunk.count - at);
        }
        at += count;
    }
    return stretches;
}

}  // namespace

Expected<std::vector<Speck>> ReadLoosePoints(CAlivePointReader& reader, const PointChunks& cut,
                                             const NumberedTile& tile, const TileCells& cells,
                                             const Regions& grown, const GrowthLimits& limits,
                                             const std::function<bool()>& proceed) {
    LooseFilter filter(cells, grown, limits);
    SpeckGatherer gatherer(limits.noise, cut.frame.Size());
    const std::vector<std::uint32_t>& chunks = cut.tiles[tile.tile].chunks;
    for (std::size_t i = 0; i < chunks.size() && (!proceed || proceed()); ++i) {
        const std::size_t from = tile.firstNumber[chunks[i]];
        const std::size_t to =
            i + 1 < chunks.size() ? tile.firstNumber[chunks[i + 1]] : tile.cells.size();
        const auto its = tile.cells.subspan(from, to - from);
        for (const Stretch& stretch : StretchesOf(cut, chunks[i], its, cells, filter)) {
            CellNumbering numbering(cut.frame);
            auto read = ForEachCellRun(
                reader, stretch.points, numbering,
                [&](std::span<const CCloudPoint<float>> points, std::uint32_t at) {
                    const std::size_t number = std::size_t{stretch.firstCell} + at;
                    // Points that have moved since they were first read have no cell.
                    if (at == kNoCell || number >= its.size() || !filter.TurnTo(its[number]))
                        return;
                    for (const auto& p : points)
                        if (!filter.Explains({p.x, p.y, p.z}))
                            gatherer.Add(Vector{p.x, p.y, p.z} - cells.Middle(), its[number]);
                });
            if (!read) return ErrorOf(read);
        }
        gatherer.GatherPoints();
    }
    return gatherer.TakeSpecks();
}

}  // namespace orvix::detection
