// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/region_growth.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

namespace orvix::detection {
namespace {

constexpr double kMostSpread = 0.55;  // of the distance: rms of a joining cell about the plane
constexpr std::size_t kLeastCells = 3;

class Grower {
public:
    Grower(const CellGrid& grid, const std::vector<CellShape>& shapes, const GrowthLimits& limits)
        : grid_(grid),
          shapes_(shapes),
          limits_(limits),
          seen_(grid.Size(), 0),
          spent_(grid.Size()) {
        result_.ofCell.assign(grid.Size(), kNoRegion);
        mostSpread_ = kMostSpread * limits.distance * kMostSpread * limits.distance;
    }

    Expected<Regions> Grow(const WorkTeam& team);

private:
    enum class Verdict { Apart, Edge, Joins };

    [[nodiscard]] std::vector<std::uint32_t> Seeds() const;
    bool Start(std::uint32_t seed);
    void Spread();
    void Join(std::uint32_t cell);
    void Settle();
    [[nodiscard]] Verdict Judge(std::uint32_t cell) const;
    [[nodiscard]] bool Keeps() const;
    void Release();

    const CellGrid& grid_;
    const std::vector<CellShape>& shapes_;
    GrowthLimits limits_;
    double mostSpread_ = 0;
    Regions result_;
    Region region_;
    std::int32_t number_ = 0;
    std::vector<std::uint32_t> seen_;  // the round in which a cell was last judged
    std::uint32_t round_ = 0;
    enum class Role : std::uint8_t { Edge, Inner, Rim };
    std::vector<Role> roles_;  // of region_.cells; an edge cell leads no further
    std::size_t front_ = 0;    // of region_.cells: the first whose neighbours are not judged
    std::vector<bool> spent_;  // cells whose region was too small: no seeds any more
};

// By flatness: the flattest first, and those of the same twentieth by number.
std::vector<std::uint32_t> Grower::Seeds() const {
    constexpr std::size_t kSteps = 1024;
    const auto stepOf = [&](const CellShape& shape) {
        const double flat = shape.rms + shape.turn * grid_.Frame().Size();
        const auto bits = std::bit_cast<std::uint32_t>(static_cast<float>(flat)) >> 19;
        return std::min<std::size_t>(bits, kSteps - 1);
    };
    std::vector<std::uint32_t> starts(kSteps + 1, 0);
    for (const CellShape& shape : shapes_)
        if (shape.HasNormal()) ++starts[stepOf(shape) + 1];
    for (std::size_t i = 1; i <= kSteps; ++i) starts[i] += starts[i - 1];
    std::vector<std::uint32_t> seeds(starts[kSteps]);
    for (std::uint32_t i = 0; i < grid_.Size(); ++i)
        if (shapes_[i].HasNormal()) seeds[starts[stepOf(shapes_[i])]++] = i;
    return seeds;
}

Grower::Verdict Grower::Judge(std::uint32_t cell) const {
    const double distance = region_.plane.Distance(grid_.MeanOf(cell));
    const double away = std::abs(distance);
    if (away > limits_.distance) return Verdict::Apart;
    const Vector& n = region_.plane.normal;
    if (Along(grid_[cell].Covariance(), n) + away * away > mostSpread_) return Verdict::Apart;
    const CellShape& shape = shapes_[cell];
    if (!shape.HasNormal()) return Verdict::Edge;
    return std::abs(Dot(shape.Normal(), n)) >= limits_.leastCos ? Verdict::Joins : Verdict::Apart;
}

void Grower::Join(std::uint32_t cell) {
    const Cell& its = grid_[cell];
    region_.sum.Add(its.count, grid_.MeanOf(cell) - region_.origin, its.Covariance());
    region_.cells.push_back(cell);
    result_.ofCell[cell] = number_;
}

bool Grower::Start(std::uint32_t seed) {
    ++round_;
    region_ = {};
    region_.origin = grid_.MeanOf(seed);
    region_.plane = {shapes_[seed].Normal(), region_.origin};
    roles_.clear();
    front_ = 0;
    if (Judge(seed) != Verdict::Joins) return false;
    number_ = static_cast<std::int32_t>(result_.regions.size());
    seen_[seed] = round_;
    Join(seed);
    roles_.push_back(Role::Rim);
    return true;
}

void Grower::Spread() {
    std::array<std::uint32_t, 27> around;
    std::size_t refitAt = 6;
    for (; front_ < region_.cells.size(); ++front_) {
        if (roles_[front_] != Role::Rim) continue;
        grid_.Around(region_.cells[front_], around);
        Role role = Role::Inner;
        for (const std::uint32_t cell : around) {
            if (cell == kNoCell || result_.ofCell[cell] == number_) continue;
            role = Role::Rim;
            if (seen_[cell] == round_ || result_.ofCell[cell] != kNoRegion) continue;
            seen_[cell] = round_;
            const Verdict verdict = Judge(cell);
            if (verdict == Verdict::Apart) continue;
            Join(cell);
            roles_.push_back(verdict == Verdict::Joins ? Role::Rim : Role::Edge);
        }
        roles_[front_] = role;
        if (region_.cells.size() >= refitAt) {
            Refit(region_);
            refitAt = region_.cells.size() + region_.cells.size() / 2;
        }
    }
}

// Holds the cells against the plane that they made, twice: who does not fit leaves, and from the
// rim of who does the region spreads again.
void Grower::Settle() {
    for (int turn = 0; turn < 2; ++turn) {
        Refit(region_);
        ++round_;
        const std::vector<std::uint32_t> cells = std::move(region_.cells);
        const std::vector<Role> roles = std::move(roles_);
        region_.cells.clear();
        region_.sum = {};
        roles_.clear();
        for (std::size_t i = 0; i < cells.size(); ++i) {
            seen_[cells[i]] = round_;
            if (Judge(cells[i]) == Verdict::Apart) {
                result_.ofCell[cells[i]] = kNoRegion;
                continue;
            }
            Join(cells[i]);
            roles_.push_back(roles[i]);
        }
        if (region_.cells.empty()) return;
        front_ = 0;
        Spread();
    }
    Refit(region_);
}

bool Grower::Keeps() const {
    if (region_.cells.size() < kLeastCells || region_.sum.count < limits_.leastPoints) return false;
    const Vector& n = region_.plane.normal;
    // A plane passes through so many cells for each cell's face of its area.
    const double cellsAFace = std::abs(n.x) + std::abs(n.y) + std::abs(n.z);
    const double size = grid_.Frame().Size();
    const double area = static_cast<double>(region_.cells.size()) * size * size / cellsAFace;
    return area >= limits_.leastArea;
}

void Grower::Release() {
    for (const std::uint32_t cell : region_.cells) {
        result_.ofCell[cell] = kNoRegion;
        spent_[cell] = true;
    }
}

Expected<Regions> Grower::Grow(const WorkTeam& team) {
    std::size_t asked = 0;
    for (const std::uint32_t seed : Seeds()) {
        if (++asked % 1024 == 0 && !team.Proceed())
            return Fail(ErrorCode::Cancelled, "the search for planes was cancelled");
        if (result_.ofCell[seed] != kNoRegion || spent_[seed] || !Start(seed)) continue;
        Spread();
        if (region_.cells.size() >= kLeastCells) Settle();
        if (Keeps()) {
            result_.regions.push_back(std::move(region_));
        } else {
            Release();
        }
    }
    return std::move(result_);
}

}  // namespace

void Refit(Region& region) {
    const orvix::detection::Spread spread = SpreadOf(region.sum.Covariance());
    region.plane.normal = spread.normal;
    region.plane.centre = region.origin + region.sum.Mean();
    region.rms = std::sqrt(spread.least);
}

Expected<Regions> GrowRegions(const CellGrid& grid, const std::vector<CellShape>& shapes,
                              const GrowthLimits& limits, const WorkTeam& team) {
    return Grower(grid, shapes, limits).Grow(team);
}

}  // namespace orvix::detection
