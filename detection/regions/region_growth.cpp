// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/regions/region_growth.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace orvix::detection {
namespace {

constexpr std::size_t kMinCells = 3;

class Grower {
public:
    Grower(const TileCells& tile, const std::vector<CellShape>& shapes, const GrowthLimits& limits)
        : tile_(tile),
          shapes_(shapes),
          limits_(limits),
          seen_(tile.Size(), 0),
          discarded_(tile.Size()) {
        result_.ofCell.assign(tile.Size(), kNoRegion);
        maxSquaredSpread_ = kMaxSpread * limits.distance * kMaxSpread * limits.distance;
    }

    Regions Grow();

private:
    enum class Match { None, Edge, Full };

    [[nodiscard]] std::vector<std::uint32_t> Seeds() const;
    bool Start(std::uint32_t seed);
    void Spread();
    void Join(std::uint32_t cell);
    void Fit();
    void Recheck();
    [[nodiscard]] Match MatchOf(std::uint32_t cell) const;
    [[nodiscard]] bool TouchesRim() const;
    void Keep();
    void Discard();

    const TileCells& tile_;
    const std::vector<CellShape>& shapes_;
    GrowthLimits limits_;
    double maxSquaredSpread_ = 0;
    Regions result_;
    Region region_;                     // about the tile's middle
    double height_ = 0;                 // of its plane over that, along its normal
    std::vector<std::uint32_t> cells_;  // in the order in which they joined
    std::int32_t number_ = 0;
    std::vector<std::uint32_t> seen_;  // the round in which a cell was last compared
    std::uint32_t round_ = 0;
    enum class Role : std::uint8_t { Edge, Inner, Rim };
    std::vector<Role> roles_;      // of cells_; an edge cell leads no further
    std::size_t front_ = 0;        // of cells_: the first whose neighbours are not compared
    std::vector<bool> discarded_;  // cells whose region was too small: no seeds any more
};

// By flatness: the flattest first, and those of the same twentieth by number.
std::vector<std::uint32_t> Grower::Seeds() const {
    constexpr std::size_t kSteps = 4096;
    const auto stepOf = [&](const CellShape& shape) {
        const double flat = shape.rms + shape.turn * tile_.Frame().Size();
        const auto bits = std::bit_cast<std::uint32_t>(static_cast<float>(flat)) >> 19;
        return std::min<std::size_t>(bits, kSteps - 1);
    };
    std::vector<std::uint32_t> starts(kSteps + 1, 0);
    for (const CellShape& shape : shapes_)
        if (shape.HasNormal()) ++starts[stepOf(shape) + 1];
    for (std::size_t i = 1; i <= kSteps; ++i) starts[i] += starts[i - 1];
    std::vector<std::uint32_t> seeds(starts[kSteps]);
    for (std::uint32_t i = 0; i < tile_.Size(); ++i)
        if (shapes_[i].HasNormal()) seeds[starts[stepOf(shapes_[i])]++] = i;
    return seeds;
}

Grower::Match Grower::MatchOf(std::uint32_t cell) const {
    const MomentSum& sum = tile_.Sum(cell);
    const Vector& n = region_.plane.normal;
    // Both sides times the cell's points: how far their mean, and the mean square of them, is from
    // the plane.
    const double heights = Dot(n, sum.sum), rise = height_ * sum.count;
    if (std::abs(heights - rise) > limits_.distance * sum.count) return Match::None;
    const double spread = QuadraticForm(sum.squares, n) - (2 * heights - rise) * height_;
    if (spread > maxSquaredSpread_ * sum.count) return Match::None;
    const CellShape& shape = shapes_[cell];
    if (!shape.HasNormal()) return Match::Edge;
    return std::abs(Dot(shape.Normal(), n)) >= limits_.minCosine ? Match::Full : Match::None;
}

void Grower::Join(std::uint32_t cell) {
    region_.sum.Add(tile_.Sum(cell));
    ++region_.cells;
    cells_.push_back(cell);
    result_.ofCell[cell] = number_;
}

void Grower::Fit() {
    Refit(region_);
    height_ = Dot(region_.plane.normal, region_.plane.centre);
}

bool Grower::Start(std::uint32_t seed) {
    ++round_;
    region_ = {};
    cells_.clear();
    region_.plane = {shapes_[seed].Normal(), tile_.Sum(seed).Mean()};
    height_ = Dot(region_.plane.normal, region_.plane.centre);
    roles_.clear();
    front_ = 0;
    if (MatchOf(seed) != Match::Full) return false;
    number_ = static_cast<std::int32_t>(result_.regions.size());
    seen_[seed] = round_;
    Join(seed);
    roles_.push_back(Role::Rim);
    return true;
}

void Grower::Spread() {
    std::size_t refitAt = 6;
    for (; front_ < cells_.size(); ++front_) {
        if (roles_[front_] != Role::Rim) continue;
        Role role = Role::Inner;
        for (const std::uint32_t cell : tile_.Around(cells_[front_])) {
            if (result_.ofCell[cell] == number_) continue;
            role = Role::Rim;
            if (seen_[cell] == round_ || result_.ofCell[cell] != kNoRegion) continue;
            seen_[cell] = round_;
            const Match match = MatchOf(cell);
            if (match == Match::None) continue;
            Join(cell);
            roles_.push_back(match == Match::Full ? Role::Rim : Role::Edge);
        }
        roles_[front_] = role;
        if (cells_.size() >= refitAt) {
            Fit();
            refitAt = cells_.size() + cells_.size() / 2;
        }
    }
}

// Compares the cells with the plane that they made, twice: those that do not fit leave, and from
// the rim of the rest the region spreads again.
void Grower::Recheck() {
    for (int turn = 0; turn < 2; ++turn) {
        Fit();
        ++round_;
        const std::size_t grown = cells_.size();
        region_.sum = {};
        region_.cells = 0;
        std::size_t kept = 0;
        for (std::size_t i = 0; i < grown; ++i) {
            const std::uint32_t cell = cells_[i];
            seen_[cell] = round_;
            if (MatchOf(cell) == Match::None) {
                result_.ofCell[cell] = kNoRegion;
                continue;
            }
            region_.sum.Add(tile_.Sum(cell));
            ++region_.cells;
            roles_[kept] = roles_[i];
            cells_[kept++] = cell;
        }
        cells_.resize(kept);
        roles_.resize(kept);
        if (cells_.empty()) return;
        front_ = 0;
        Spread();
        if (kept == grown && cells_.size() == grown) break;  // and so it would stay
    }
    Fit();
}

bool Grower::TouchesRim() const {
    return std::any_of(cells_.begin(), cells_.end(),
                       [&](std::uint32_t cell) { return tile_.LiesAtRim(cell); });
}

// Regions grow about the tile's middle and are kept in the project's frame.
void Grower::Keep() {
    region_.origin = tile_.Middle();
    region_.plane.centre = region_.plane.centre + tile_.Middle();
    result_.regions.push_back(std::move(region_));
}

void Grower::Discard() {
    for (const std::uint32_t cell : cells_) {
        result_.ofCell[cell] = kNoRegion;
        discarded_[cell] = true;
    }
}

Regions Grower::Grow() {
    for (const std::uint32_t seed : Seeds()) {
        if (result_.ofCell[seed] != kNoRegion || discarded_[seed] || !Start(seed)) continue;
        Spread();
        if (cells_.size() >= kMinCells) Recheck();
        if (IsLargeEnough(region_, limits_, tile_.Frame().Size()) ||
            (cells_.size() >= kMinCells && TouchesRim())) {
            Keep();
        } else {
            Discard();
        }
    }
    return std::move(result_);
}

}  // namespace

void Refit(Region& region) {
    const detail::PrincipalSpread spread = SpreadOf(region.sum.Covariance());
    region.plane.normal = spread.normal;
    region.plane.centre = region.origin + region.sum.Mean();
    region.rms = std::sqrt(spread.min);
}

bool IsLargeEnough(const Region& region, const GrowthLimits& limits, double cellSize) {
    if (region.cells < kMinCells || region.sum.count < limits.minPoints) return false;
    const Vector& n = region.plane.normal;
    // A plane passes through that many cells for each square of a cell's side.
    const double cellsPerFace = std::abs(n.x) + std::abs(n.y) + std::abs(n.z);
    const double area = static_cast<double>(region.cells) * cellSize * cellSize / cellsPerFace;
    return area >= limits.minArea;
}

Regions GrowRegions(const TileCells& tile, const std::vector<CellShape>& shapes,
                    const GrowthLimits& limits) {
    return Grower(tile, shapes, limits).Grow();
}

}  // namespace orvix::detection
