// SPDX-License-Identifier: GPL-3.0-or-later
#include "detection/growth/region_growth.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "detection/cells/wall_between.h"
#include "detection/growth/speck_groups.h"
#include "orvix/platform/asker.h"

namespace orvix::detection {
namespace {

constexpr std::uint32_t kCellsPerQuestion = 8192;  // some milliseconds
constexpr double kWaves = 3;         // times its waves: how far more the cells of a wavy region may
constexpr double kFewPoints = 2.3;   // that the mean square of few points may exceed that of many
constexpr double kMaxRms = 2.8;      // times the noise: of a cell that holds one surface
constexpr double kMaxRoughRms = 17;  // the same where surfaces may be rough
constexpr double kMinRoughPoints = 20;  // of a cell that a rough one grows from
constexpr double kRoughShare = 0.8;  // of its cells: those that are as rough as it is, and along it
constexpr double kAsRough = 0.5;     // times its rms
constexpr double kRoughCosine = 0.97;
// Of a rough one: the variance of its cells' mean squares, of their mean squared; and what few points of a
// cell add, twice what chance does.
constexpr double kMaxUneven = 0.15;
constexpr double kUnevenByFew = 4;
constexpr double kMeans = 0.5;        // of the distance: the same for the mean of a cell
constexpr double kMinMean = 0.0035;   // metres: but no less
constexpr double kMaxStep = 3;        // standard errors of their means: what is no step
constexpr double kMaxBend = 0.02;     // radians from cell to cell: what is no step, either
constexpr double kMaxSpread = 0.55;   // of the distance: rms of a cell's points
constexpr double kMaxTilt = 0.01;     // of a cell's size: spread of a cell that waves
constexpr double kFoldedWave = 0.6;   // times the scatter: the waves of what may be two faces
constexpr double kFoldedShare = 0.3;  // that a paraboloid explains of them
constexpr double kNarrower = 0.6;     // of the distance: what one face grows within
constexpr double kLineWidth = 0.2;    // of a cell's size: of the line that a scanner leaves in it

class Grower {
public:
    Grower(const TileCells& tile, const std::vector<CellShape>& shapes, const GrowthLimits& limits,
           const std::function<bool()>& proceed)
        : asker_(proceed, kCellsPerQuestion),
          tile_(tile),
          shapes_(shapes),
          limits_(limits),
          seen_(tile.Size(), 0),
          discarded_(tile.Size()) {
        result_.ofCell.assign(tile.Size(), kNoRegion);
    }

    Regions Grow();

private:
    enum class Match { None, Edge, Full };

    [[nodiscard]] std::vector<std::uint32_t> Seeds() const;
    void Allow();
    bool Start(std::uint32_t seed);
    void Spread();
    void Join(std::uint32_t cell);
    void Fit();
    void Recheck();
    [[nodiscard]] Match MatchOf(std::uint32_t cell, std::uint32_t from) const;
    [[nodiscard]] Match MatchOf(std::uint32_t cell, std::uint32_t from, const MomentSum& sum) const;
    // Whether a cell holds one surface: where two meet, its points lie farther from one plane. What
    // lies around it may be another one.
    [[nodiscard]] bool IsSurface(const CellShape& shape) const {
        if (!shape.HasNormal() || limits_.fixed || !shape.own) return shape.HasNormal();
        return shape.rms <=
               std::max((rough_ ? kMaxRoughRms : kMaxRms) * limits_.noise, limits_.distance / 2);
    }
    [[nodiscard]] bool MaySeed(std::uint32_t cell) const {
        if (!IsSurface(shapes_[cell]) || result_.ofCell[cell] != kNoRegion) return false;
        return !rough_ || (shapes_[cell].own && tile_.Sum(cell).count >= kMinRoughPoints);
    }
    [[nodiscard]] bool Continues(std::uint32_t from, std::uint32_t cell) const;
    [[nodiscard]] bool AreLinked(std::uint32_t a, std::uint32_t b) const;
    [[nodiscard]] bool ArePartedByWall(std::uint32_t a, std::uint32_t b) const;
    [[nodiscard]] bool IsFolded() const;
    [[nodiscard]] bool IsRoughThroughout() const;
    [[nodiscard]] bool IsEvenlyRough() const;
    [[nodiscard]] bool IsWorthKeeping() const;
    void GrowAll();
    bool GrowFrom(std::uint32_t seed);
    void GrowAgain(std::uint32_t seed);
    [[nodiscard]] bool TouchesRim() const;
    void Keep();
    void Discard();

    detail::Asker asker_;
    const TileCells& tile_;
    const std::vector<CellShape>& shapes_;
    GrowthLimits limits_;
    bool rough_ = false;   // whether surfaces may be rough
    double narrower_ = 1;  // of the distance, what the region keeps to
    double tight_ = 0;     // how far the mean of a cell may lie from the plane
    double scatter_ = 0;   // of its points
    double loose_ = 0;     // the same where the cell continues its neighbour
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
    for (std::uint32_t i = 0; i < tile_.Size(); ++i)
        if (MaySeed(i)) ++starts[stepOf(shapes_[i]) + 1];
    for (std::size_t i = 1; i <= kSteps; ++i) starts[i] += starts[i - 1];
    std::vector<std::uint32_t> seeds(starts[kSteps]);
    for (std::uint32_t i = 0; i < tile_.Size(); ++i)
        if (MaySeed(i)) seeds[starts[stepOf(shapes_[i])]++] = i;
    return seeds;
}

// Whether a cell goes on where its neighbour ends: each passes the other's mean. A step, however
// small, is where they do not.
bool Grower::Continues(std::uint32_t from, std::uint32_t cell) const {
    const CellShape& a = shapes_[from];
    const CellShape& b = shapes_[cell];
    if (!a.HasNormal() || !b.HasNormal()) return false;
    const Vector between =
        SumOfSurface(tile_, cell, b).Mean() - SumOfSurface(tile_, from, a).Mean();
    const double length = std::sqrt(Dot(between, between));
    const double few = std::min(tile_.Sum(from).count, tile_.Sum(cell).count);
    const double limit =
        kMaxStep * std::max(a.rms, b.rms) / std::sqrt(few) + (a.turn + b.turn + kMaxBend) * length;
    return std::abs(Dot(a.Normal(), between)) <= limit &&
           std::abs(Dot(b.Normal(), between)) <= limit;
}

// Whether no gap parts the points of two cells that touch. How far points lie apart, their counts
// say, but for a scanner's lines, which leave gaps between them.
bool Grower::AreLinked(std::uint32_t a, std::uint32_t b) const {
    const double size = tile_.Frame().Size();
    const double count = std::max(tile_.Sum(a).count, tile_.Sum(b).count);
    if (tile_.Box(a).SquaredGap(tile_.Box(b)) <= MaxSquaredGap(count) * size * size) return true;
    const auto width = static_cast<float>(kLineWidth * size);
    return tile_.Box(a).IsLine(width) && tile_.Box(b).IsLine(width);
}

// Whether a wall stands in the gap between two cells that are linked: where points are sparse, the
// ceilings on both sides of a thin one lie no farther apart than points do.
bool Grower::ArePartedByWall(std::uint32_t a, std::uint32_t b) const {
    const double size = tile_.Frame().Size(), gap = kMinWalledGap * size;
    const CellBox& one = tile_.Box(a);
    const CellBox& other = tile_.Box(b);
    if (size > kMaxWalledCell || one.SquaredGap(other) <= gap * gap) return false;
    return IsWallBetween(one.Middle(), other.Middle(), region_.plane.normal, size,
                         [&](const Vector& at, const Vector& across) {
                             const std::uint32_t cell = tile_.CellAt(at);
                             if (cell == tile_.Size()) return false;
                             const CellShape& shape = shapes_[cell];
                             return !shape.HasNormal() || StandsAcross(shape.Normal(), across);
                         });
}

Grower::Match Grower::MatchOf(std::uint32_t cell, std::uint32_t from) const {
    const CellShape& shape = shapes_[cell];
    if (shape.slicedAlong == 0) return MatchOf(cell, from, tile_.Sum(cell));
    return MatchOf(cell, from, SumOfSurface(tile_, cell, shape));
}

Grower::Match Grower::MatchOf(std::uint32_t cell, std::uint32_t from, const MomentSum& sum) const {
    const Vector& n = region_.plane.normal;
    // Times the cell's points: how far their mean is from the plane, and the mean square of them
    // from it.
    const double heights = Dot(n, sum.sum), rise = height_ * sum.count;
    const double away = std::abs(heights - rise);
    const double error = kMaxStep * scatter_ * std::sqrt(sum.count);
    if (away > loose_ * sum.count + error) return Match::None;
    const CellShape& shape = shapes_[cell];
    const double cosine = shape.HasNormal() ? std::abs(Dot(shape.Normal(), n)) : 0;
    if (shape.HasNormal() && cosine < limits_.minCosine) return Match::None;
    const bool tight = away <= tight_ * sum.count + error;
    if (!tight && from != cell && !Continues(from, cell)) return Match::None;
    double spread = QuadraticForm(sum.squares, n) - (2 * heights - rise) * height_;
    if (!tight) spread -= away * away / sum.count;  // about the cell's own mean
    // A point alone may lie three times the scatter away.
    const double few = limits_.fixed ? 0 : kFewPoints;
    if (spread > maxSquaredSpread_ * (sum.count + few)) return Match::None;
    return IsSurface(shape) ? Match::Full : Match::Edge;
}

void Grower::Join(std::uint32_t cell) {
    region_.sum.Add(tile_.Sum(cell));
    ++region_.cells;
    // What lies around a cell may be another surface, a step beside it.
    if (shapes_[cell].HasNormal() && shapes_[cell].own) {
        const double rms = shapes_[cell].rms, count = tile_.Sum(cell).count;
        region_.scatter += rms * rms * count;
        region_.scattered += count;
    }
}

void Grower::Fit() {
    Refit(region_);
    height_ = Dot(region_.plane.normal, region_.plane.centre);
    Allow();
}

// What the region's size and scatter allow its cells.
void Grower::Allow() {
    const double distance = narrower_ * TightDistance(region_, limits_);
    scatter_ = limits_.fixed ? 0 : distance / kScatters;
    tight_ = limits_.fixed ? distance : std::max(kMeans * distance, kMinMean);
    const double size = tile_.Frame().Size();
    const double extent = static_cast<double>(region_.cells) * size * size;
    loose_ = tight_ + std::min(MaxWave(extent, limits_), kWaves * WaveOf(region_));
    const double spread =
        kMaxSpread * distance + (limits_.fixed ? 0 : kMaxTilt * tile_.Frame().Size());
    maxSquaredSpread_ = spread * spread;
}

bool Grower::Start(std::uint32_t seed) {
    ++round_;
    region_ = {};
    region_.rough = rough_;
    cells_.clear();
    region_.plane = {shapes_[seed].Normal(), SumOfSurface(tile_, seed, shapes_[seed]).Mean()};
    height_ = Dot(region_.plane.normal, region_.plane.centre);
    roles_.clear();
    front_ = 0;
    region_.scatter = shapes_[seed].rms * shapes_[seed].rms;
    region_.scattered = 1;
    Allow();
    region_.scatter = region_.scattered = 0;
    if (MatchOf(seed, seed) != Match::Full) return false;
    number_ = static_cast<std::int32_t>(result_.regions.size());
    seen_[seed] = round_;
    Join(seed);
    cells_.push_back(seed);
    result_.ofCell[seed] = number_;
    roles_.push_back(Role::Rim);
    return true;
}

void Grower::Spread() {
    std::size_t refitAt = 6;
    for (; front_ < cells_.size(); ++front_) {
        if (!asker_.GoesOn()) return;
        if (roles_[front_] != Role::Rim) continue;
        Role role = Role::Inner;
        for (const std::uint32_t cell : tile_.Around(cells_[front_])) {
            if (result_.ofCell[cell] == number_) continue;
            role = Role::Rim;
            if (seen_[cell] == round_ || result_.ofCell[cell] != kNoRegion) continue;
            if (!AreLinked(cells_[front_], cell)) continue;
            const Match match = MatchOf(cell, cells_[front_]);
            // A cell that only the wrong neighbour led to may be asked again.
            if (match == Match::None || ArePartedByWall(cells_[front_], cell)) continue;
            seen_[cell] = round_;
            Join(cell);
            cells_.push_back(cell);
            result_.ofCell[cell] = number_;
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
        region_.scatter = region_.scattered = 0;
        std::size_t kept = 0;
        for (std::size_t i = 0; i < grown; ++i) {
            const std::uint32_t cell = cells_[i];
            seen_[cell] = round_;
            if (MatchOf(cell, cell) == Match::None) {
                result_.ofCell[cell] = kNoRegion;
                continue;
            }
            Join(cell);
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

// Whether a region took in two faces that meet at an obtuse angle: it strays from its plane by more
// than surfaces of its size wave and noise would, and bends one way. BEHAVIOUR A21
bool Grower::IsFolded() const {
    if (limits_.fixed || cells_.size() < kMinCells) return false;
    const double wave = WaveOf(region_);
    if (wave <= MaxWave(region_.extent, limits_) ||
        wave * wave * region_.scattered <= kFoldedWave * kFoldedWave * region_.scatter)
        return false;
    std::vector<Vector> places;
    places.reserve(cells_.size());
    for (const std::uint32_t cell : cells_)
        places.push_back(tile_.Sum(cell).Mean() - region_.plane.centre);
    return CurvedShare(places, region_.plane.normal, std::sqrt(region_.extent)) > kFoldedShare;
}

bool Grower::GrowFrom(std::uint32_t seed) {
    if (!Start(seed)) return false;
    Spread();
    if (cells_.size() >= kMinCells) Recheck();
    return true;
}

// From the same seed, by what one of the faces allows.
void Grower::GrowAgain(std::uint32_t seed) {
    for (const std::uint32_t cell : cells_) result_.ofCell[cell] = kNoRegion;
    narrower_ = kNarrower;
    GrowFrom(seed);
    narrower_ = 1;
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
    if (!rough_ && !limits_.small && cells_.size() >= kMinCells) ++result_.leftOut;
    for (const std::uint32_t cell : cells_) {
        result_.ofCell[cell] = kNoRegion;
        discarded_[cell] = true;
    }
}

// Whether most cells of a region are as rough as the whole and lie along it: of what waves, or of two
// surfaces that a wide distance joins, each is smoother or turned.
bool Grower::IsRoughThroughout() const {
    const auto isSo = [&](std::uint32_t cell) {
        const CellShape& shape = shapes_[cell];
        return shape.own && IsSurface(shape) && shape.rms > kAsRough * region_.rms &&
               std::abs(Dot(shape.Normal(), region_.plane.normal)) > kRoughCosine;
    };
    const auto so = static_cast<double>(std::count_if(cells_.begin(), cells_.end(), isSo));
    return so >= kRoughShare * static_cast<double>(cells_.size()) && IsEvenlyRough();
}

// Whether cells are about as rough as each other. A smooth face with a few points of another one far
// behind it in the same cells is as rough on the whole, but each cell has more or fewer of those.
bool Grower::IsEvenlyRough() const {
    double points = 0, squares = 0, fourths = 0, cells = 0;
    for (const std::uint32_t cell : cells_) {
        if (!shapes_[cell].own) continue;
        const double count = tile_.Sum(cell).count, square = shapes_[cell].rms * shapes_[cell].rms;
        points += count;
        squares += count * square;
        fourths += count * square * square;
        ++cells;
    }
    const double mean = squares / points;
    const double most = kMaxUneven + kUnevenByFew * cells / points;
    return fourths / points - mean * mean <= most * mean * mean;
}

bool Grower::IsWorthKeeping() const {
    const bool large = IsLargeEnough(region_, limits_, tile_.Frame().Size());
    if (rough_) return large && !IsFolded() && IsRoughThroughout();
    // What touches the rim may go on in the next tile. A few cells there explain no points: these
    // grow together with the next tile's.
    return large || (cells_.size() >= LeastCells(region_, limits_) && TouchesRim());
}

void Grower::GrowAll() {
    for (const std::uint32_t seed : Seeds()) {
        if (!asker_.GoesOn()) break;
        if (result_.ofCell[seed] != kNoRegion || discarded_[seed] || !GrowFrom(seed)) continue;
        if (!rough_ && IsFolded()) GrowAgain(seed);
        if (IsWorthKeeping()) {
            Keep();
        } else {
            Discard();
        }
    }
}

Regions Grower::Grow() {
    GrowAll();
    if (limits_.fixed) return std::move(result_);
    rough_ = true;  // BEHAVIOUR A24
    discarded_.assign(tile_.Size(), false);
    GrowAll();
    return std::move(result_);
}

}  // namespace

Regions GrowRegions(const TileCells& tile, const std::vector<CellShape>& shapes,
                    const GrowthLimits& limits, const std::function<bool()>& proceed) {
    return Grower(tile, shapes, limits, proceed).Grow();
}

}  // namespace orvix::detection
